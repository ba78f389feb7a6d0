#include "ops/device_session.h"

#include "core/progress_phase.h"
#include "core/status.h"
#include "image/dump_files.h"
#include "link/board_commands.h"

namespace fenwright::ops {

using screen::MessageMode;

void EraseChip(core::RunContext& context) {
  core::AppState& state = context.State;
  link::AvrExtendCommand(context, state.LinkError);
  if (state.LinkError != 0) return;
  core::ShowMessage(context, "チップ イレース中.....", MessageMode::Busy);
  core::ShowPhase(context, core::Phase::Erase);
  link::EnterProgrammingMode(context, state.LinkError);
  link::ChipErase(context, state.LinkError);
  link::LeaveProgrammingMode(context, state.LinkError);
  if (state.LinkError != 0) {
    core::ReportResult(context, "チップ イレース失敗", screen::Outcome::Failure);
    return;
  }
  image::RefreshEepromView(context);
  context.Screen.MessageDialog.Close();
}

void UpdateProgress(core::RunContext& context, std::int32_t value) {
  context.Screen.MessageDialog.SetProgress(value);
  context.Line.Events.ProcessPendingEvents();
}

}  // namespace fenwright::ops
