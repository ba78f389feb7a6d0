#include "fuse/fuse_reading.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/hex_format.h"
#include "core/progress_phase.h"
#include "core/status.h"
#include "fuse/fuse_bytes.h"
#include "fuse/fuse_exchange.h"
#include "fuse/fuse_layout.h"
#include "fuse/fuse_model.h"
#include "link/board_commands.h"
#include "link/socket_check.h"

namespace fenwright::fuse {
namespace {

/// How a byte is read: the board command, the working byte that it fills, and the trace's word for
/// it ("" = the exchange is not traced). The calibration bytes have a board command of their own.
struct Reader {
  ReadCommand Command;
  bool (*Read)(core::RunContext& context, std::uint8_t& value, std::int16_t& error);
  std::uint8_t core::AppState::*Target;
  std::string_view Label;
};
// "o_readCalibtationByte" is spelled as it is.
constexpr auto kReaders = std::to_array<Reader>({
    {ReadCommand::Fuse, link::ReadFuseBits, &core::AppState::FuseByte, "r_readFuseBit"},
    {ReadCommand::FuseHigh, link::ReadFuseHighBits, &core::AppState::FuseByte,
     "U_readFuseHiBit_Tiny26"},
    {ReadCommand::Lock, link::ReadLockFuseBits, &core::AppState::LockByte, "F_readLockFuseBit"},
    {ReadCommand::LockFuse, link::ReadLockFuseBits, &core::AppState::LockFuseByte, ""},
    {ReadCommand::Calibration, nullptr, nullptr, "o_readCalibtationByte"},
});

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
  core::AppState& state = context.State;
  const Reader& reader = *std::ranges::find(kReaders, step.Command, &Reader::Command);
  // An empty line and a header.
  if (!step.Header.empty()) core::ShowStatus(context, "\r\n" + std::string(step.Header));
  if (!EnterExchange(context, reader.Label)) return;
  const bool delivered =
      reader.Read ? reader.Read(context, state.*reader.Target, state.LinkError)
                  : link::ReadCalibrationByte(context, state.CalibrationBytes, state.LinkError);
  LeaveExchange(context, reader.Label);
  if (!delivered) return;
  if (!reader.Read) return ShowCalibration(context);
  const std::uint8_t byte = state.*reader.Target;
  state.Command.FuseBytes.push_back({.Name = std::string(step.Caption), .Value = byte});
  ShowByte(context, step, byte);
}

}  // namespace

void ReadFuses(core::RunContext& context) {
  core::AppState& state = context.State;
  core::ShowMessage(context, "Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....", screen::MessageMode::Busy);
  core::ShowPhase(context, core::Phase::ReadFuses);
  state.LinkError = 0;
  link::CheckSocketDevice(context);
  if (state.LinkError == 1) {
    core::ShowMessage(context, "設定デバイスと、ソケット上のデバイスがミスマッチです。",
                      screen::MessageMode::Notice, screen::Outcome::Failure);
    return;
  }
  // Whatever other value it has: that failure of the check is deliberately ignored.
  state.LinkError = 0;
  const std::string device = context.Screen.DeviceForm.DeviceText();
  if (device.empty()) return;
  for (const ReadStep& step : LayoutOf(device).ReadSteps) RunStep(context, step);
  if (state.LinkError != 0) {
    core::ReportResult(context, "Lock/Fuse bit リードに失敗しました。", screen::Outcome::Failure);
    return;
  }
  state.Command.FusesFinished = true;
  core::ShowStatus(context, "Lock/Fuse bit リードが完了しました。");
  context.Screen.MessageDialog.Close();
}

}  // namespace fenwright::fuse
