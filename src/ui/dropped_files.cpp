#include "ui/dropped_files.h"

#include <QDir>
#include <QMimeData>
#include <QUrl>

namespace fenwright::ui {

QString FirstFileToOpen(const QMimeData& dragged) {
  for (const QUrl& url : dragged.urls()) {
    const QString path = url.toLocalFile();
    if (path.endsWith(".hex", Qt::CaseInsensitive) || path.endsWith(".rom", Qt::CaseInsensitive) ||
        IsJobFile(path)) {
      return QDir::toNativeSeparators(path);
    }
  }
  return {};
}

bool IsJobFile(const QString& path) { return path.endsWith(".json", Qt::CaseInsensitive); }

}  // namespace fenwright::ui
