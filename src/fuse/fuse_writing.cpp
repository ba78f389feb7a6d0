#include "fuse/fuse_writing.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/status.h"
#include "fuse/fuse_bytes.h"
#include "fuse/fuse_exchange.h"
#include "fuse/fuse_model.h"
#include "fuse/reset_pin.h"
#include "link/board_commands.h"
#include "link/socket_check.h"

namespace fenwright::fuse {
namespace {

/// The board command that sends a byte.
struct Sender {
  WriteCommand Command;
  void (*Send)(core::RunContext& context, std::uint8_t value, std::int16_t& error);
};
constexpr auto kSenders = std::to_array<Sender>({
    {WriteCommand::FuseAt90s, link::WriteFuseBits},
    {WriteCommand::FuseTiny, link::WriteFuseBitsU},
    {WriteCommand::FuseHigh, link::WriteFuseHighBits},
    {WriteCommand::Lock, link::WriteLockBits},
    {WriteCommand::LockTiny26, link::WriteLockBitsTiny26},
});

bool CarriesResetPin(const WriteStep& step) {
  return std::ranges::find(step.Added, screen::FuseList::Rstdisabl, &AddedField::List) !=
         step.Added.end();
}

/// Composes the byte in its working byte, where it stays, and writes it.
void RunStep(core::RunContext& context, const WriteStep& step) {
  core::AppState& state = context.State;
  std::uint8_t& byte = WritesLock(step.Command) ? state.LockByte : state.FuseByte;
  byte = ComposeByte(step, SelectionOf(context), byte);
  if (!EnterExchange(context, "")) return;
  state.Command.FuseWriteStarted = true;
  // An answer that never comes does not bring the pin back.
  if (CarriesResetPin(step) && DisablesReset(context)) state.Command.ResetPinGivenAway = true;
  std::int16_t error = 0;
  std::ranges::find(kSenders, step.Command, &Sender::Command)->Send(context, byte, error);
  if (error == 0) {
    state.Command.FuseBytes.push_back({.Name = std::string(step.Caption), .Value = byte});
  } else {
    state.LinkError = error;
  }
  LeaveExchange(context, "");
}

}  // namespace

void WriteFuses(core::RunContext& context) {
  core::AppState& state = context.State;
  core::ShowMessage(context, "Lock/Fuse bit ライト中....", screen::MessageMode::Busy);
  state.LinkError = 0;
  link::CheckSocketDevice(context);
  if (state.LinkError != 0) return;
  const std::string device = context.Screen.DeviceForm.DeviceText();
  if (device.empty()) return;
  const std::span<const WriteStep> steps = LayoutOf(device).WriteSteps;
  state.Command.FuseWriteCount = static_cast<std::int32_t>(steps.size());
  for (const WriteStep& step : steps) RunStep(context, step);
  if (state.LinkError != 0) {
    core::ReportResult(context, "Lock/Fuse bit ライトに失敗しました。", screen::Outcome::Failure);
    return;
  }
  state.Command.FusesFinished = true;
  core::ShowStatus(context, "Lock/Fuse bit ライトが完了しました。");
  context.Screen.MessageDialog.Close();
}

}  // namespace fenwright::fuse
