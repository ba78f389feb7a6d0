#include "fuse/fuse_writing.h"

#include <span>

#include "core/hex_format.h"
#include "core/status.h"
#include "fuse/fuse_exchange.h"
#include "fuse/fuse_model.h"
#include "link/board_commands.h"
#include "link/socket_check.h"

namespace fenwright::fuse {
namespace {

using screen::FuseList;

Selection SelectionOf(core::RunContext& context) {
  return [&form = context.Screen.Fuses](FuseList list) { return form.SelectedIndex(list); };
}

void SendByte(core::RunContext& context, WriteCommand command, std::uint8_t byte,
              std::int16_t& error) {
  switch (command) {
    case WriteCommand::FuseAt90s:
      return link::WriteFuseBits(context, byte, error);
    case WriteCommand::FuseTiny:
      return link::WriteFuseBitsU(context, byte, error);
    case WriteCommand::FuseHigh:
      return link::WriteFuseHighBits(context, byte, error);
    case WriteCommand::Lock:
      return link::WriteLockBits(context, byte, error);
    case WriteCommand::LockTiny26:
      return link::WriteLockBitsTiny26(context, byte, error);
  }
}

/// Composes the byte in its working byte, where it stays, and writes it.
void RunStep(core::RunContext& context, const WriteStep& step) {
  core::AppState& state = context.State;
  std::uint8_t& byte = WritesLock(step.Command) ? state.LockByte : state.FuseByte;
  byte = ComposeByte(step, SelectionOf(context), byte);
  FuseExchange(context, {}, [&] {
    state.Command.FuseWriteStarted = true;
    std::int16_t error = 0;
    SendByte(context, step.Command, byte, error);
    if (error != 0) {
      state.LinkError = error;
      return;
    }
    state.Command.FuseBytes.push_back({.Name = std::string(step.Caption), .Value = byte});
  });
}

}  // namespace

const std::string_view kResetDisableWarning =
    "ＰＢ５またはＰＢ７リセット機能の無効「PB5:I/O」または「PB7:I/O」を選択しライトした場合、"
    "そのデバイスは、このプログラマ(Low-voltage Serial Programming mode)では"
    "アクセスできなくなります。ＯＴＰデバイスと同じ扱いとなりますので注意してください。";

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
    core::ReportResult(context, "Lock/Fuse bit ライトに失敗しました。");
    return;
  }
  state.Command.FusesFinished = true;
  core::ShowStatus(context, "Lock/Fuse bit ライトが完了しました。");
  context.Screen.MessageDialog.Close();
}

std::vector<core::FuseTransfer> ComposeFuseBytes(core::RunContext& context) {
  std::uint8_t fuse = context.State.FuseByte;
  std::uint8_t lock = context.State.LockByte;
  std::vector<core::FuseTransfer> bytes;
  for (const WriteStep& step : LayoutOf(context.Screen.DeviceForm.DeviceText()).WriteSteps) {
    std::uint8_t& byte = WritesLock(step.Command) ? lock : fuse;
    byte = ComposeByte(step, SelectionOf(context), byte);
    bytes.push_back({.Name = std::string(step.Caption), .Value = byte});
  }
  return bytes;
}

std::string DescribeFuseBytes(const std::vector<core::FuseTransfer>& bytes) {
  std::string text;
  for (const core::FuseTransfer& byte : bytes) {
    if (!text.empty()) text += "  ";
    text.append(byte.Name).append(" 0x").append(core::HexByte(byte.Value));
  }
  return text;
}

void ShowFuseBytes(core::RunContext& context) {
  context.Screen.Fuses.SetByteLine(DescribeFuseBytes(ComposeFuseBytes(context)));
}

bool DisablesReset(core::RunContext& context) {
  const FuseLayout& layout = LayoutOf(context.Screen.DeviceForm.DeviceText());
  return HasField(layout, FuseList::Rstdisabl) &&
         context.Screen.Fuses.SelectedIndex(FuseList::Rstdisabl) == 0;
}

void WarnOfResetDisable(core::RunContext& context) {
  if (!DisablesReset(context)) return;
  core::ShowMessage(context, kResetDisableWarning, screen::MessageMode::Notice);
}

}  // namespace fenwright::fuse
