#include "ops/program_device.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/device_selection.h"
#include "core/elapsed.h"
#include "core/progress_phase.h"
#include "core/status.h"
#include "image/buffers.h"
#include "image/dump_files.h"
#include "link/board_commands.h"
#include "link/serial_link.h"
#include "link/socket_check.h"
#include "ops/device_session.h"
#include "ops/verify_device.h"

namespace fenwright::ops {
namespace {

using screen::MessageMode;

constexpr std::string_view kProgrammingFlashText = "フラッシュプログラムメモリ プログラム中.....";

/// Whether the phase may go on to the next phase: false when the board refused its frame.
enum class PhaseEnd { Ran, FrameRefused };

PhaseEnd ProgramFlash(core::RunContext& context) {
  core::AppState& state = context.State;
  link::AvrExtendCommand(context, state.LinkError);
  if (state.LinkError != 0) return PhaseEnd::FrameRefused;
  core::ShowMessage(context, kProgrammingFlashText, MessageMode::Busy);
  core::ShowPhase(context, core::Phase::WriteFlash);
  context.Screen.MessageDialog.SetProgressRange(state.FlashProgramCount);
  state.Command.FlashStarted = true;
  link::EnterProgrammingMode(context, state.LinkError);
  link::SelectAddress(context, 0, state.LinkError);
  const core::DeviceEntry* const device = core::SelectedDevice(context);
  const auto write_word =
      device && device->WritesWordsAtOnce ? link::WriteProgramWordTiny26 : link::WriteProgramWord;
  const double start = context.Line.Clock.SecondsSinceMidnight();
  for (std::int32_t word = 0; word < state.FlashProgramCount; ++word) {
    UpdateProgress(context, word);
    const auto index = 2 * static_cast<std::size_t>(word);
    const std::uint8_t high = state.FlashBuffer[index];
    const std::uint8_t low = state.FlashBuffer[index + 1];
    state.Command.FlashWordSent = true;
    write_word(context, high, low, state.LinkError);
    if (state.LinkError == 0) {
      state.Command.FlashWordsWritten = word + 1;
    } else {
      state.Command.FlashFailed = true;
    }
  }
  state.Command.FlashWriteSeconds = core::SecondsSince(context.Line.Clock, start);
  link::LeaveProgrammingMode(context, state.LinkError);
  if (state.LinkError != 0) {
    state.Command.FlashFailed = true;
    core::ReportResult(context, "フラッシュプログラムメモリ プログラム失敗",
                       screen::Outcome::Failure);
    return PhaseEnd::Ran;
  }
  image::RefreshFlashView(context);
  context.Screen.MessageDialog.Close();
  return PhaseEnd::Ran;
}

void WriteEepromByte(core::RunContext& context, std::int32_t byte) {
  core::AppState& state = context.State;
  const std::uint8_t value = state.EepromBuffer[static_cast<std::size_t>(byte)];
  if (value != core::kBlank) {
    link::SelectAddress(context, byte, state.LinkError);
    state.Command.EepromByteSent = true;
    link::WriteDataByte(context, value, state.LinkError);
  }
  if (state.LinkError == 0) {
    state.Command.EepromBytesDone = byte + 1;
  } else {
    state.Command.EepromFailed = true;
  }
}

PhaseEnd ProgramEeprom(core::RunContext& context) {
  core::AppState& state = context.State;
  link::AvrExtendCommand(context, state.LinkError);
  if (state.LinkError != 0) return PhaseEnd::FrameRefused;
  core::ShowMessage(context, "ＥＥＰＲＯＭデータメモリ プログラム中.....", MessageMode::Busy);
  core::ShowPhase(context, core::Phase::WriteEeprom);
  context.Screen.MessageDialog.SetProgressRange(state.EepromProgramCount);
  state.Command.EepromStarted = true;
  link::EnterProgrammingMode(context, state.LinkError);
  for (std::int32_t byte = 0; byte < state.EepromProgramCount; ++byte) {
    UpdateProgress(context, byte);
    WriteEepromByte(context, byte);
  }
  link::LeaveProgrammingMode(context, state.LinkError);
  if (state.LinkError != 0) {
    state.Command.EepromFailed = true;
    core::ReportResult(context, "ＥＥＰＲＯＭデータメモリ プログラム失敗",
                       screen::Outcome::Failure);
    return PhaseEnd::Ran;
  }
  image::RefreshEepromView(context);
  context.Screen.MessageDialog.Close();
  return PhaseEnd::Ran;
}

}  // namespace

void ProgramDevice(core::RunContext& context) {
  core::AppState& state = context.State;
  core::ShowMessage(context, kProgrammingFlashText, MessageMode::Busy);
  core::ShowPhase(context, core::Phase::WriteFlash);
  state.FlashProgramCount = image::UsedFlashWords(state);
  state.EepromProgramCount = image::UsedEepromBytes(state);
  if (state.FlashProgramCount == 0 && state.EepromProgramCount == 0) {
    state.Command.NothingToProgram = true;
    core::ReportResult(context, "全てのメモリは消去されました。", screen::Outcome::Attention);
    return;
  }
  state.LinkError = 0;
  link::CheckSocketDevice(context);
  if (state.LinkError != 0) {
    core::ShowStatus(context, "プログラミングを中止しました。");
    link::ShowCommError(context);
    return;
  }
  if (ProgramFlash(context) == PhaseEnd::FrameRefused) return;
  // The EEPROM is programmed even after a failed flash phase.
  state.LinkError = 0;
  if (ProgramEeprom(context) == PhaseEnd::FrameRefused) return;
  VerifyDevice(context);
}

}  // namespace fenwright::ops
