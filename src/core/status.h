#pragma once

#include <string_view>

#include "core/run_context.h"

namespace fenwright::core {

/// Shows a text in a status panel and traces it. Panel 1 is kept in `AppState::StatusText`.
void ShowStatus(RunContext& context, screen::Panel panel, std::string_view text);

/// Shows a text in panel 1 and traces it.
void ShowStatus(RunContext& context, std::string_view text);

/// Shows a text in the message dialog and traces it; kept in `AppState::MessageText`.
void ShowMessage(RunContext& context, std::string_view text, screen::MessageMode mode);

/// Shows a second line below the message dialog's text: cause, state of the chip, cure. Traced as a
/// line of its own, since the trace is what users send when they ask for help.
void ShowDetail(RunContext& context, std::string_view text);

/// A result that the user must see: traced in panel 1, then shown as a notice in the dialog.
void ReportResult(RunContext& context, std::string_view text);

}  // namespace fenwright::core
