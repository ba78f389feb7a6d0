#include "ui/qt_shell.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

#include "ui/text.h"

namespace fenwright::ui {

bool QtShell::Open(std::string_view document, std::string_view /*working_folder*/,
                   platform::ShowMode /*mode*/) {
  const QString name = ToQString(document);
  if (name.contains("://")) return QDesktopServices::openUrl(QUrl(name));
  // Some desktops put up a message of their own about a file that is not there.
  return QFileInfo::exists(name) && QDesktopServices::openUrl(QUrl::fromLocalFile(name));
}

}  // namespace fenwright::ui
