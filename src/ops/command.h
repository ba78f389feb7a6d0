#pragma once

#include <functional>

#include "core/command_end.h"
#include "core/run_context.h"

namespace fenwright::ops {

/// A procedure that a control starts. Those of the window's controls carry the control's handler
/// name; window, command line and tests start them in the same way.
using Entry = std::function<void(core::RunContext&)>;

/// Runs one user command under the guard that keeps every other from starting: while `entry` runs,
/// `AppState::CommandRunning` is true and a further call is refused. `AppState::Command` is about
/// this command from its start on.
///
/// At its end the sign of what has become of it is shown.
///
/// A command that is ended early leaves programming mode and takes its dialogs down, before the
/// text of the ending, if any, is shown in a message box. A stop request is used up when the
/// command ends.
core::CommandEnding RunCommand(core::RunContext& context, const Entry& entry);

}  // namespace fenwright::ops
