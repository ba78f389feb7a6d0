#include "ops/link_commands.h"

#include <algorithm>
#include <cstddef>

#include "core/device_selection.h"
#include "core/elapsed.h"
#include "link/detection.h"
#include "link/serial_link.h"

namespace fenwright::ops {
namespace {

constexpr double kBitsPerByte = 10;  // with start and stop bit
constexpr double kBaud = 57600;
constexpr double kSecondsPerByte = kBitsPerByte / kBaud;

/// Bytes on the wire, both ways together, and exchanges that a memory cell takes.
struct CellCost {
  int Bytes;
  int Exchanges;
};
constexpr CellCost kWriteWord{.Bytes = 6, .Exchanges = 2};
constexpr CellCost kWriteWordAtOnce{.Bytes = 4, .Exchanges = 1};
constexpr CellCost kReadWord{.Bytes = 3, .Exchanges = 1};
constexpr CellCost kWriteDataByte{.Bytes = 7, .Exchanges = 2};  // with its address
constexpr CellCost kReadDataByte{.Bytes = 6, .Exchanges = 2};

double SecondsFor(const CellCost& cost, int cells, double extra_seconds) {
  return cells * (cost.Bytes * kSecondsPerByte + cost.Exchanges * extra_seconds);
}

/// The board's command set is its own matter: asking for the extended one again changes nothing,
/// and the escape byte ends it.
bool MeasureRoundTrip(core::RunContext& context, double& seconds) {
  constexpr char kExtend = 'A';
  constexpr double kTimeoutSeconds = 1;
  link::ClearInput(context);
  const double start = context.Line.Clock.SecondsSinceMidnight();
  link::SendText(context, kExtend);
  if (!link::WaitForBytes(context, 1, kTimeoutSeconds)) return false;
  seconds = core::SecondsSince(context.Line.Clock, start);
  link::ReadReply(context);
  return true;
}

}  // namespace

void Detect(core::RunContext& context) {
  context.State.Command.LinkReady = link::CheckProgrammerLink(context);
}

BoardVerdict VerdictOf(const core::AppState& state) {
  switch (state.LastDetection) {
    case core::Detection::NotMade:
    case core::Detection::NoAnswer:
    case core::Detection::OtherDevice:
      return BoardVerdict::None;
    case core::Detection::VersionUnreadable:
      return BoardVerdict::Unreadable;
    case core::Detection::FirmwareTooOld:
      return BoardVerdict::Refused;
    case core::Detection::Accepted:
      break;
  }
  return link::UpdateIsAdvised(state.FirmwareVersion) ? BoardVerdict::Advised
                                                      : BoardVerdict::Accepted;
}

DeviceAnswer DeviceAnswerOf(const core::AppState& state) {
  if (state.Command.LinkReady) return DeviceAnswer::Accepted;
  const BoardVerdict verdict = VerdictOf(state);
  const bool asked = verdict == BoardVerdict::Advised || verdict == BoardVerdict::Accepted;
  return asked ? DeviceAnswer::Refused : DeviceAnswer::NotAsked;
}

void MeasureRoundTrips(core::RunContext& context, int count, std::vector<double>& seconds) {
  seconds.clear();
  double time = 0;
  while (static_cast<int>(seconds.size()) < count && MeasureRoundTrip(context, time)) {
    seconds.push_back(time);
  }
  link::SendEscape(context);
}

TimeSpread SpreadOf(std::vector<double> seconds) {
  if (seconds.empty()) return {};
  std::ranges::sort(seconds);
  const std::size_t middle = seconds.size() / 2;
  const bool even = seconds.size() % 2 == 0;
  const double median = even ? (seconds[middle - 1] + seconds[middle]) / 2 : seconds[middle];
  return {.Minimum = seconds.front(), .Median = median, .Maximum = seconds.back()};
}

double RoundTripWireSeconds() { return 2 * kSecondsPerByte; }

ProgrammingForecast Forecast(const core::RunContext& context, double extra_seconds) {
  return Forecast(context, context.State.FlashWords, context.State.EepromBytes, extra_seconds);
}

ProgrammingForecast Forecast(const core::RunContext& context, int words, int data_bytes,
                             double extra_seconds) {
  const core::DeviceEntry* const device = core::SelectedDevice(context);
  const CellCost& write_word = device && device->WritesWordsAtOnce ? kWriteWordAtOnce : kWriteWord;
  return {.WriteSeconds = SecondsFor(write_word, words, extra_seconds) +
                          SecondsFor(kWriteDataByte, data_bytes, extra_seconds),
          .VerifySeconds = SecondsFor(kReadWord, words, extra_seconds) +
                           SecondsFor(kReadDataByte, data_bytes, extra_seconds)};
}

}  // namespace fenwright::ops
