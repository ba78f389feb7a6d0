#include "chip_reading.h"

#include <algorithm>
#include <cstddef>

#include <fmt/format.h>

#include "fuse_check.h"
#include "ops/commands.h"

namespace fenwright::cli {
namespace {

/// The first place where two readings of a memory differ, "" when there is none. `unit` bytes make
/// a cell, in the order in which they are shown.
std::string FirstDifference(const char* memory, std::size_t unit,
                            const std::vector<std::uint8_t>& first,
                            const std::vector<std::uint8_t>& second) {
  const auto found = std::ranges::mismatch(first, second);
  if (found.in1 == first.end()) return "";
  const auto cell = static_cast<std::size_t>(found.in1 - first.begin()) / unit;
  const auto hex = [&](const std::vector<std::uint8_t>& bytes) {
    std::string text;
    for (std::size_t i = 0; i < unit; ++i) text += fmt::format("{:02X}", bytes[cell * unit + i]);
    return text;
  };
  return fmt::format("{} 0x{:04X}: {}, then {}", memory, cell, hex(first), hex(second));
}

std::string FirstDifference(const ChipReading& first, const ChipReading& second) {
  std::string difference = FirstMemoryDifference(first, second);
  if (difference.empty() && first.Fuses != second.Fuses) difference = "the fuse and lock bits";
  if (difference.empty() && first.Calibration != second.Calibration) {
    difference = "the calibration bytes";
  }
  return difference;
}

}  // namespace

ChipReading LastChipReading(Session& session) {
  const core::AppState& state = session.State();
  const std::ptrdiff_t flash_bytes = std::ptrdiff_t{2} * state.FlashWords;
  return {.Flash = {state.FlashBuffer.begin(), state.FlashBuffer.begin() + flash_bytes},
          .Eeprom = {state.EepromBuffer.begin(), state.EepromBuffer.begin() + state.EepromBytes},
          .Fuses = state.Command.FuseBytes,
          .Calibration = CalibrationOf(session)};
}

std::string FirstMemoryDifference(const ChipReading& first, const ChipReading& second) {
  const std::string difference = FirstDifference("flash word", 2, first.Flash, second.Flash);
  if (!difference.empty()) return difference;
  return FirstDifference("EEPROM byte", 1, first.Eeprom, second.Eeprom);
}

bool ReadsAgainTheSame(Session& session, DeviceRun& run, const core::Sentence& consequence) {
  const ChipReading first = LastChipReading(session);
  const DeviceRun second = RunOnDevice(session, ops::Cmd_btn_read_Click);
  run.Code = second.Code;
  run.Ending = second.Ending;
  run.Seconds += second.Seconds;
  if (run.Code != ExitCode::Success) return true;
  const std::string difference = FirstDifference(first, LastChipReading(session));
  if (difference.empty()) return true;
  run.Code = session.Fail(
      ExitCode::Failed,
      {.Code = problem::kReadingsDiffer,
       .Text = {
           fmt::format("二回の読み出しの結果が違います: {}{}", difference, consequence.Japanese),
           fmt::format("two readings of the device differ: {}; check the contacts and the "
                       "cable{}",
                       difference, consequence.English)}});
  return false;
}

std::optional<Problem> WhyNotWritten(const std::string& path, const image::HexWriteReport& report) {
  if (report) return std::nullopt;
  const bool refused = report.End == image::HexWriteEnd::AccessRefused;
  return Problem{
      .Code = problem::kFileUnwritable,
      .Text = {fmt::format("{}: 書けません: {}", path, report.Reason),
               fmt::format("{}: cannot be written: {}", path, report.Reason)},
      .Cure = refused ? core::Sentence{"書き込みを許すか、別のファイルを指定します。",
                                       "allow writing there, or name another file"}
                      : core::Sentence{
                            "フォルダーとディスクの空きを確かめるか、別のファイルを指定します。",
                            "check the folder and the room on its disc, or name another "
                            "file"}};
}

}  // namespace fenwright::cli
