#pragma once

#include <QString>

class QMimeData;

namespace fenwright::ui {

/// The first file of this computer among the dragged ones whose name ends in ".hex", ".rom" or, for
/// a job, ".json", in whatever case, with the system's own separators; "" when there is none.
QString FirstFileToOpen(const QMimeData& dragged);

/// True for a name that ends in ".json".
bool IsJobFile(const QString& path);

}  // namespace fenwright::ui
