#include "fuse/fuse_reading.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/hex_format.h"
#include "core/status.h"
#include "fuse/fuse_exchange.h"
#include "fuse/fuse_layout.h"
#include "fuse/fuse_model.h"
#include "fuse/fuse_writing.h"
#include "link/board_commands.h"
#include "link/socket_check.h"

namespace fenwright::fuse {
namespace {

constexpr std::string_view kExtendLabel = "A_AvrExtendCommand";
constexpr std::string_view kEnterLabel = "P_enterProgrammingMode";
constexpr std::string_view kLeaveLabel = "L_leaveProgrammingMode";

/// The trace's texts for one command, "o_readCalibtationByte" spelled as it is.
ExchangeLabels LabelsOf(ReadCommand command) {
  const auto around = [](std::string_view transfer) {
    return ExchangeLabels{
        .Extend = kExtendLabel, .Enter = kEnterLabel, .Transfer = transfer, .Leave = kLeaveLabel};
  };
  switch (command) {
    case ReadCommand::Fuse:
      return around("r_readFuseBit");
    case ReadCommand::FuseHigh:
      return around("U_readFuseHiBit_Tiny26");
    case ReadCommand::Lock:
      return around("F_readLockFuseBit");
    case ReadCommand::Calibration:
      return around("o_readCalibtationByte");
    case ReadCommand::LockFuse:
      break;
  }
  return {};
}

/// The working byte that a command fills.
std::uint8_t& TargetOf(core::AppState& state, ReadCommand command) {
  switch (command) {
    case ReadCommand::Lock:
      return state.LockByte;
    case ReadCommand::LockFuse:
      return state.LockFuseByte;
    case ReadCommand::Fuse:
    case ReadCommand::FuseHigh:
    case ReadCommand::Calibration:
      break;
  }
  return state.FuseByte;
}

/// The one command of an exchange; false when the chip's answer did not arrive.
bool Transfer(core::RunContext& context, ReadCommand command) {
  core::AppState& state = context.State;
  std::uint8_t& byte = TargetOf(state, command);
  switch (command) {
    case ReadCommand::Fuse:
      return link::ReadFuseBits(context, byte, state.LinkError);
    case ReadCommand::FuseHigh:
      return link::ReadFuseHighBits(context, byte, state.LinkError);
    case ReadCommand::Lock:
    case ReadCommand::LockFuse:
      return link::ReadLockFuseBits(context, byte, state.LinkError);
    case ReadCommand::Calibration:
      break;
  }
  return link::ReadCalibrationByte(context, state.CalibrationBytes, state.LinkError);
}

bool ReadByte(core::RunContext& context, ReadCommand command) {
  bool delivered = false;
  FuseExchange(context, LabelsOf(command), [&] { delivered = Transfer(context, command); });
  return delivered;
}

void ShowByte(core::RunContext& context, const ReadStep& step, std::uint8_t byte) {
  const HiddenFuseFrame hidden(context);
  for (const DecodedField& field : step.Fields) {
    const int index = DecodeIndex(field, byte);
    if (index != kLeaveAsItIs) context.Screen.Fuses.Select(field.List, index);
  }
  ShowFuseBytes(context);
}

void ShowCalibration(core::RunContext& context) {
  const std::vector<std::uint8_t>& bytes = context.State.CalibrationBytes;
  const int count = LayoutOf(context.Screen.DeviceForm.DeviceText()).CalibrationCount;
  if (count == 1) {
    context.Screen.Fuses.SetCalibrationText("0x" + core::HexByte(bytes.at(0)));
    return;
  }
  // Several bytes have a blank behind each of them.
  std::string text;
  for (std::size_t i = 0; std::cmp_less(i, count); ++i) {
    text += "0x" + core::HexByte(bytes.at(i)) + " ";
  }
  context.Screen.Fuses.SetCalibrationText(text);
}

void RunStep(core::RunContext& context, const ReadStep& step) {
  // An empty line and a header.
  if (!step.Header.empty()) core::ShowStatus(context, "\r\n" + std::string(step.Header));
  if (!ReadByte(context, step.Command)) return;
  if (step.Command == ReadCommand::Calibration) {
    ShowCalibration(context);
    return;
  }
  const std::uint8_t byte = TargetOf(context.State, step.Command);
  context.State.Command.FuseBytes.push_back({.Name = std::string(step.Caption), .Value = byte});
  ShowByte(context, step, byte);
}

}  // namespace

void ReadFuses(core::RunContext& context) {
  core::AppState& state = context.State;
  core::ShowMessage(context, "Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....", screen::MessageMode::Busy);
  state.LinkError = 0;
  link::CheckSocketDevice(context);
  if (state.LinkError == 1) {
    core::ShowMessage(context, "設定デバイスと、ソケット上のデバイスがミスマッチです。",
                      screen::MessageMode::Notice);
    return;
  }
  // Whatever other value it has: that failure of the check is deliberately ignored.
  state.LinkError = 0;
  const std::string device = context.Screen.DeviceForm.DeviceText();
  if (device.empty()) return;
  for (const ReadStep& step : LayoutOf(device).ReadSteps) RunStep(context, step);
  if (state.LinkError != 0) {
    core::ReportResult(context, "Lock/Fuse bit リードに失敗しました。");
    return;
  }
  state.Command.FusesFinished = true;
  core::ShowStatus(context, "Lock/Fuse bit リードが完了しました。");
  context.Screen.MessageDialog.Close();
}

}  // namespace fenwright::fuse
