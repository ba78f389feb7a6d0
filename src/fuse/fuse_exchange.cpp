#include "fuse/fuse_exchange.h"

#include "core/status.h"
#include "link/board_commands.h"

namespace fenwright::fuse {

bool EnterExchange(core::RunContext& context, std::string_view transfer_label) {
  std::int16_t& error = context.State.LinkError;
  const bool traced = !transfer_label.empty();
  if (traced) core::ShowStatus(context, "A_AvrExtendCommand");
  link::AvrExtendCommand(context, error);
  if (error != 0) return false;
  if (traced) core::ShowStatus(context, "P_enterProgrammingMode");
  link::EnterProgrammingMode(context, error);
  if (traced) core::ShowStatus(context, transfer_label);
  return true;
}

void LeaveExchange(core::RunContext& context, std::string_view transfer_label) {
  if (!transfer_label.empty()) core::ShowStatus(context, "L_leaveProgrammingMode");
  link::LeaveProgrammingMode(context, context.State.LinkError);
}

}  // namespace fenwright::fuse
