#include "ui/qt_file_dialogs.h"

#include <QDir>
#include <QFileDialog>

#include "ui/text.h"

namespace fenwright::ui {
namespace {

QString Patterns(const QString& list) {
  QStringList patterns;
  for (const QString& part : list.split(';', Qt::SkipEmptyParts)) {
    const QString pattern = part.trimmed();
    if (pattern == "*.*") {
      patterns.append("*");
      continue;
    }
    patterns.append(pattern.toLower());
    patterns.append(pattern.toUpper());
  }
  patterns.removeDuplicates();
  return patterns.join(' ');
}

}  // namespace

QStringList NameFilters(const std::string& filter) {
  const QStringList fields = ToQString(filter).split('|');
  QStringList filters;
  for (qsizetype field = 0; field + 1 < fields.size(); field += 2) {
    filters.append(fields.at(field) + " (" + Patterns(fields.at(field + 1)) + ')');
  }
  return filters;
}

QString DefaultSuffix(const std::string& default_extension) {
  const QString first = ToQString(default_extension).section(';', 0, 0).trimmed();
  return first.startsWith("*.") ? first.mid(2) : first;
}

std::optional<std::string> QtFileDialogs::Open(const platform::FileDialogRequest& request) {
  QFileDialog dialog(parent_, ToQString(request.Title));
  dialog.setObjectName("dlgOpen");
  dialog.setAccessibleName(dialog.windowTitle());
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setFileMode(QFileDialog::ExistingFile);
  dialog.setNameFilters(NameFilters(request.Filter));
  dialog.setDefaultSuffix(DefaultSuffix(request.DefaultExtension));
  if (!request.StartFolder.empty()) dialog.setDirectory(ToQString(request.StartFolder));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
  return ToUtf8(QDir::toNativeSeparators(dialog.selectedFiles().constFirst()));
}

}  // namespace fenwright::ui
