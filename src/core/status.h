#pragma once

#include <string_view>

#include "core/run_context.h"

namespace fenwright::core {

/// Shows a text in a status panel and traces it. Panel 1 is kept in `AppState::StatusText`; a new
/// text there takes the sign of the last outcome away.
void ShowStatus(RunContext& context, screen::Panel panel, std::string_view text);

/// Shows a text in panel 1 and traces it.
void ShowStatus(RunContext& context, std::string_view text);

/// Shows a text in the message dialog and traces it; kept in `AppState::MessageText`. An outcome
/// that it stands for shows as a sign in the dialog and in panel 1.
void ShowMessage(RunContext& context, std::string_view text, screen::MessageMode mode,
                 screen::Outcome outcome = screen::Outcome::None);

/// Shows a second line below the message dialog's text: cause, state of the chip, cure. Traced as a
/// line of its own, since the trace is what users send when they ask for help.
void ShowDetail(RunContext& context, std::string_view text);

/// A result that the user must see: traced in panel 1, then shown as a notice in the dialog.
void ReportResult(RunContext& context, std::string_view text,
                  screen::Outcome outcome = screen::Outcome::None);

/// Shows the sign of an outcome in the message dialog, while it is loaded, and in panel 1, where
/// the reason ("" = none) can be asked for. It is the outcome of the running command until another
/// is shown.
void ShowOutcome(RunContext& context, screen::Outcome outcome, std::string_view reason);

/// Shows the sign of the command's outcome again in panel 1, behind a status text that came after
/// it.
void ShowOutcomeAgain(RunContext& context);

}  // namespace fenwright::core
