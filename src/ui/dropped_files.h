#pragma once

#include <QString>

class QMimeData;

namespace fenwright::ui {

/// The first file of this computer among the dragged ones whose name ends in ".hex" or ".rom", in
/// whatever case, with the system's own separators; "" when there is none.
QString FirstHexFile(const QMimeData& dragged);

}  // namespace fenwright::ui
