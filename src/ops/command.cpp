#include "ops/command.h"

#include "core/status.h"
#include "image/dump_files.h"
#include "link/board_commands.h"
#include "ops/outcome.h"

namespace fenwright::ops {
namespace {

/// Keeps `CommandRunning` true for its own lifetime.
class CommandGuard {
 public:
  explicit CommandGuard(core::AppState& state) : state_(state) { state_.CommandRunning = true; }
  ~CommandGuard() {
    state_.CommandRunning = false;
    state_.StopRequested = false;
  }
  CommandGuard(const CommandGuard&) = delete;
  CommandGuard& operator=(const CommandGuard&) = delete;

 private:
  core::AppState& state_;
};

void LeaveProgrammingMode(core::RunContext& context) {
  try {
    link::LeaveProgrammingModeIfEntered(context);
  } catch (const core::CommandEnd&) {
    // The command is ending already; a trace that cannot be written was its reason.
  }
}

void ShowChipState(core::RunContext& context) {
  try {
    core::ShowMessage(context, DescribeChipState(context.State, core::Language::Japanese),
                      screen::MessageMode::Notice, screen::Outcome::Failure);
  } catch (const core::CommandEnd&) {
    // The trace cannot be written; the dialog is on the screen by then.
  }
}

/// A command on the chip is judged by what it has done; any other has said it on its way.
void ShowSign(core::RunContext& context) {
  const core::AppState& state = context.State;
  if (state.Command.Operation == core::DeviceOperation::None) {
    core::ShowOutcomeAgain(context);
  } else {
    core::ShowOutcome(context, OutcomeOf(state), ReasonOfOutcome(state));
  }
}

void EndEarly(core::RunContext& context, const core::CommandEnd& end) {
  core::AppState& state = context.State;
  state.StopRequested = false;
  LeaveProgrammingMode(context);
  // What the next command works with is what the user sees, whatever the buffers hold by now.
  image::ShowBuffers(context);
  context.Screen.ComForm.Unload();
  context.Screen.MessageDialog.Close();
  if (!end.Text.empty()) {
    context.Screen.MessageBoxes.Show(screen::MessageIcon::Critical, "", end.Text);
  }
  const bool worked_on_chip = state.Command.Operation != core::DeviceOperation::None;
  if (end.Ending == core::CommandEnding::FileError && worked_on_chip) {
    ShowChipState(context);
  }
}

}  // namespace

core::CommandEnding RunCommand(core::RunContext& context, const Entry& entry) {
  if (context.State.CommandRunning) return core::CommandEnding::Refused;
  const CommandGuard guard(context.State);
  context.State.Command = {};
  try {
    entry(context);
    ShowSign(context);
    return core::CommandEnding::Finished;
  } catch (const core::CommandEnd& end) {
    EndEarly(context, end);
    return end.Ending;
  }
}

}  // namespace fenwright::ops
