#pragma once

#include <QIcon>

#include "screen/outcome.h"

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

/// The sign of an outcome, each of a shape of its own; a null icon for none.
QIcon OutcomeIcon(screen::Outcome outcome);

}  // namespace fenwright::ui
