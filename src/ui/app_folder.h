#pragma once

#include <optional>

#include <QString>

namespace fenwright::ui {

/// The folder for trace, dumps and report, with the system's separator at its end: `wanted` when
/// given (it is created when missing), else the program's own folder, else, when that can't be
/// written, the user's data folder for the program. Nothing when `wanted`, or every one of them,
/// can't be written.
std::optional<QString> FindAppFolder(const QString& wanted, const QString& program_folder);

}  // namespace fenwright::ui
