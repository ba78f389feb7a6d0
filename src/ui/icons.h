#pragma once

#include <QIcon>

namespace fenwright::ui {

/// The program's own icons. They are drawn at the size that is asked for, so they are sharp at any
/// scale, and greyed when disabled.
QIcon OpenIcon();
QIcon SaveIcon();
QIcon ReloadIcon();
QIcon ProgramIcon();
QIcon ReadIcon();
QIcon VerifyIcon();
QIcon EraseIcon();
QIcon PortIcon();
QIcon ChipIcon();
QIcon InformationIcon();
QIcon QuestionIcon();

}  // namespace fenwright::ui
