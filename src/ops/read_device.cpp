#include "ops/read_device.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/progress_phase.h"
#include "core/status.h"
#include "image/dump_files.h"
#include "link/board_commands.h"
#include "link/serial_link.h"
#include "link/socket_check.h"
#include "ops/device_session.h"

namespace fenwright::ops {
namespace {

using screen::MessageMode;

// The blank after the comma is an ideographic space, in this text alone.
constexpr std::string_view kReadingFlashText = "フラッシュプログラムメモリ　読出し中.....";

/// The flash phase; false when the operation ends with it.
bool ReadFlash(core::RunContext& context) {
  core::AppState& state = context.State;
  context.Screen.MessageDialog.SetProgressRange(state.FlashWords);
  link::AvrExtendCommand(context, state.LinkError);
  if (state.LinkError != 0) return false;
  core::ShowMessage(context, kReadingFlashText, MessageMode::Busy);
  core::ShowPhase(context, core::Phase::ReadFlash);
  link::EnterProgrammingMode(context, state.LinkError);
  if (state.LinkError != 0) {
    link::ShowCommError(context);
    return false;
  }
  link::SelectAddress(context, 0, state.LinkError);
  for (std::int32_t word = 0; word < state.FlashWords; ++word) {
    UpdateProgress(context, word);
    const auto index = 2 * static_cast<std::size_t>(word);
    std::uint8_t& high = state.FlashBuffer[index];
    std::uint8_t& low = state.FlashBuffer[index + 1];
    // Ends the whole operation: programming mode is deliberately not left.
    if (!link::ReadProgramWord(context, high, low, state.LinkError)) return false;
    state.Command.FlashWordsRead = word + 1;
  }
  link::LeaveProgrammingMode(context, state.LinkError);
  if (state.LinkError != 0) {
    core::ReportResult(context, "フラッシュプログラムメモリ 読出し失敗", screen::Outcome::Failure);
    return true;
  }
  image::RefreshFlashView(context);
  context.Screen.MessageDialog.Close();
  return true;
}

void ReadEeprom(core::RunContext& context) {
  core::AppState& state = context.State;
  link::AvrExtendCommand(context, state.LinkError);
  if (state.LinkError != 0) return;
  core::ShowMessage(context, "ＥＥＰＲＯＭデータメモリ 読出し中.....", MessageMode::Busy);
  core::ShowPhase(context, core::Phase::ReadEeprom);
  context.Screen.MessageDialog.SetProgressRange(state.EepromBytes);
  link::EnterProgrammingMode(context, state.LinkError);
  for (std::int32_t byte = 0; byte < state.EepromBytes; ++byte) {
    UpdateProgress(context, byte);
    link::SelectAddress(context, byte, state.LinkError);
    link::ReadDataByte(context, state.EepromBuffer[static_cast<std::size_t>(byte)],
                       state.LinkError);
  }
  link::LeaveProgrammingMode(context, state.LinkError);
  if (state.LinkError != 0) {
    core::ReportResult(context, "ＥＥＰＲＯＭデータメモリ 読出し失敗", screen::Outcome::Failure);
    return;
  }
  state.Command.ReadFinished = true;
  image::RefreshEepromView(context);
  context.Screen.MessageDialog.Close();
}

}  // namespace

void ReadDevice(core::RunContext& context) {
  core::ShowMessage(context, kReadingFlashText, MessageMode::Busy);
  core::ShowPhase(context, core::Phase::ReadFlash);
  link::CheckSocketDevice(context);
  if (context.State.LinkError != 0) {
    core::ShowStatus(context, "リードを中止しました。");
    return;
  }
  if (ReadFlash(context)) ReadEeprom(context);
}

void ReadEepromOfDevice(core::RunContext& context) {
  link::CheckSocketDevice(context);
  if (context.State.LinkError != 0) {
    core::ShowStatus(context, "リードを中止しました。");
    return;
  }
  ReadEeprom(context);
}

}  // namespace fenwright::ops
