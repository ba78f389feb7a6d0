#include "ops/verify_device.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "core/command_end.h"
#include "core/elapsed.h"
#include "core/hex_format.h"
#include "core/progress_phase.h"
#include "core/status.h"
#include "image/buffers.h"
#include "link/board_commands.h"
#include "link/socket_check.h"
#include "ops/device_session.h"
#include "ops/difference_marks.h"

namespace fenwright::ops {
namespace {

using screen::MessageMode;

/// The report file while it is being written. A disc that refuses it ends the running command.
class Report {
 public:
  explicit Report(core::RunContext& context)
      : path_(context.State.AppFolder + std::string(kVerifyReportFile)) {
    platform::FileResult result;
    writer_ = context.Storage.Files.OpenOwnForWriting(path_, result);
    if (!writer_) core::EndCommandOnFileError(path_, result);
  }

  void Line(std::string_view text) {
    if (!writer_->Write(std::string(text) + "\r\n")) Fail();
  }

  void Close() {
    if (!writer_->Close()) Fail();
  }

 private:
  [[noreturn]] void Fail() { core::EndCommandOnFileError(path_, writer_->Result()); }

  std::string path_;
  std::unique_ptr<platform::FileWriter> writer_;
};

std::uint16_t Word(std::uint8_t high, std::uint8_t low) {
  return static_cast<std::uint16_t>(high << 8 | low);
}

/// Kept in memory too: whoever shows it needs no file for it.
void NoteDifference(core::AppState& state, Report& report, const core::Difference& difference) {
  state.Command.Differences.push_back(difference);
  report.Line(DescribeDifference(difference));
}

void CompareFlash(core::RunContext& context, Report& report) {
  core::AppState& state = context.State;
  const std::int32_t extent = image::UsedFlashWords(state);
  context.Screen.MessageDialog.SetProgressRange(extent);
  const double start = context.Line.Clock.SecondsSinceMidnight();
  for (std::int32_t word = 0; word < extent; ++word) {
    UpdateProgress(context, word);
    std::uint8_t high = 0;
    std::uint8_t low = 0;
    if (!link::ReadProgramWord(context, high, low, state.LinkError)) continue;
    const auto index = 2 * static_cast<std::size_t>(word);
    const std::uint8_t expected_high = state.FlashBuffer[index];
    const std::uint8_t expected_low = state.FlashBuffer[index + 1];
    if (high == expected_high && low == expected_low) continue;
    state.FlashNG = true;
    NoteDifference(state, report,
                   {.InFlash = true,
                    .Address = word,
                    .Expected = Word(expected_high, expected_low),
                    .Found = Word(high, low)});
  }
  state.Command.FlashVerifySeconds = core::SecondsSince(context.Line.Clock, start);
}

void CompareEeprom(core::RunContext& context, Report& report) {
  core::AppState& state = context.State;
  const std::int32_t extent = image::UsedEepromBytes(state);
  context.Screen.MessageDialog.SetProgressRange(extent);
  for (std::int32_t byte = 0; byte < extent; ++byte) {
    UpdateProgress(context, byte);
    link::SelectAddress(context, byte, state.LinkError);
    std::uint8_t value = 0;
    if (!link::ReadDataByte(context, value, state.LinkError)) continue;
    const std::uint8_t expected = state.EepromBuffer[static_cast<std::size_t>(byte)];
    if (value == expected) continue;
    state.EepromNG = true;
    NoteDifference(state, report,
                   {.InFlash = false, .Address = byte, .Expected = expected, .Found = value});
  }
}

void ShowResult(core::RunContext& context) {
  core::AppState& state = context.State;
  MarkDifferences(context);
  if (state.LinkError != 0) {
    core::ReportResult(context, "ベリファイ　通信エラー", screen::Outcome::Failure);
    return;
  }
  state.Command.VerifyFinished = true;
  const bool good = !state.FlashNG && !state.EepromNG;
  if (good) {
    core::ShowStatus(context, "ベリファイ　FLASH : OK / EEPROM : OK 　プログラミング正常終了。");
    core::ShowMessage(context, "ベリファイ　FLASH : OK / EEPROM : OK", MessageMode::Notice,
                      screen::Outcome::Success);
  }
  context.Screen.Views.Clear(screen::View::Verify);
  context.Screen.Views.Load(screen::View::Verify, state.AppFolder + std::string(kVerifyReportFile));
  if (good) return;
  const std::string flash = state.FlashNG ? "NG" : "OK";
  const std::string eeprom = state.EepromNG ? "NG" : "OK";
  core::ReportResult(context, "ベリファイ　FLASH : " + flash + " / EEPROM : " + eeprom,
                     screen::Outcome::Failure);
  context.Screen.MessageDialog.FocusButton();
}

}  // namespace

std::string DescribeDifference(const core::Difference& difference) {
  const auto cell = [&difference](std::uint16_t value) {
    const std::string low = core::HexByte(static_cast<std::uint8_t>(value & 0xFFU));
    if (!difference.InFlash) return low;
    return core::HexByte(static_cast<std::uint8_t>(value >> 8U)) + low;
  };
  return (difference.InFlash ? "PROGRAM Addr(word) = " : "EEPROM  Addr(byte) = ") +
         core::HexAddress(difference.Address) + "  Original = " + cell(difference.Expected) +
         "   NG = " + cell(difference.Found);
}

void VerifyDevice(core::RunContext& context) {
  constexpr std::string_view kFlashText = "フラッシュメモリ ベリファイ中.....";
  core::AppState& state = context.State;
  state.FlashNG = false;
  state.EepromNG = false;
  core::ShowMessage(context, kFlashText, MessageMode::Busy);
  core::ShowPhase(context, core::Phase::VerifyFlash);
  if (state.VerifyStandalone) {
    link::CheckSocketDevice(context);
    if (state.LinkError != 0) {
      core::ShowStatus(context, "ベリファイを中止しました。");
      return;
    }
  }
  link::AvrExtendCommand(context, state.LinkError);
  if (state.LinkError != 0) return;
  core::ShowMessage(context, kFlashText, MessageMode::Busy);
  core::ShowPhase(context, core::Phase::VerifyFlash);
  link::EnterProgrammingMode(context, state.LinkError);
  link::SelectAddress(context, 0, state.LinkError);
  Report report(context);
  report.Line("Flash Program memory address verify");
  report.Line("");
  CompareFlash(context, report);
  link::LeaveProgrammingMode(context, state.LinkError);
  if (state.LinkError != 0)
    core::ReportResult(context, "フラッシュメモリ ベリファイ失敗", screen::Outcome::Failure);

  link::AvrExtendCommand(context, state.LinkError);
  // The flag is never cleared in between: after a failed flash phase the EEPROM phase ends here.
  const bool extended = state.LinkError == 0;
  if (extended) {
    core::ShowMessage(context, "ＥＥＰＲＯＭデータメモリ ベリファイ中.....", MessageMode::Busy);
    core::ShowPhase(context, core::Phase::VerifyEeprom);
    link::EnterProgrammingMode(context, state.LinkError);
    report.Line("");
    report.Line("EEPROM data memory address verify");
    report.Line("");
    CompareEeprom(context, report);
  }
  report.Close();
  if (extended) link::LeaveProgrammingMode(context, state.LinkError);
  ShowResult(context);
}

}  // namespace fenwright::ops
