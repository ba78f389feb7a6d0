#include "ui/app_folder.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace fenwright::ui {
namespace {

/// Permissions alone do not tell on every system: only writing does.
bool CanBeWritten(const QString& folder) {
  if (!QDir(folder).exists()) return false;
  QTemporaryFile probe(folder + "/fenwright_XXXXXX.tmp");
  return probe.open();
}

QString WithSeparator(const QString& folder) {
  const QString path = QDir::toNativeSeparators(QDir(folder).absolutePath());
  return path.endsWith(QDir::separator()) ? path : path + QDir::separator();
}

std::optional<QString> Created(const QString& folder) {
  if (folder.isEmpty() || !QDir().mkpath(folder) || !CanBeWritten(folder)) return std::nullopt;
  return WithSeparator(folder);
}

}  // namespace

std::optional<QString> FindAppFolder(const QString& wanted, const QString& program_folder) {
  if (!wanted.isEmpty()) return Created(wanted);
  if (CanBeWritten(program_folder)) return WithSeparator(program_folder);
  return Created(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
}

}  // namespace fenwright::ui
