#include "ui/dropped_files.h"

#include <QDir>
#include <QMimeData>
#include <QUrl>

namespace fenwright::ui {

QString FirstHexFile(const QMimeData& dragged) {
  for (const QUrl& url : dragged.urls()) {
    const QString path = url.toLocalFile();
    if (path.endsWith(".hex", Qt::CaseInsensitive) || path.endsWith(".rom", Qt::CaseInsensitive)) {
      return QDir::toNativeSeparators(path);
    }
  }
  return {};
}

}  // namespace fenwright::ui
