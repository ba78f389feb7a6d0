#pragma once

#include <vector>

#include "core/run_context.h"

namespace fenwright::ops {

// Commands that look at the line to the board and leave the chip alone.

/// What became of the search for a board.
enum class BoardVerdict {
  None,        ///< no answer, or none of a supported board
  Unreadable,  ///< a supported board that gives no version number
  Refused,     ///< firmware too old
  Advised,     ///< accepted; a newer firmware is recommended
  Accepted,
};

/// What the board said to the selected device.
enum class DeviceAnswer { NotAsked, Refused, Accepted };

/// Looks for the board on the chosen port and offers it the selected device, as every command on
/// the chip does first. The port stays open when both were accepted.
void Detect(core::RunContext& context);

/// What Detect() found, as long as no other command has started.
BoardVerdict VerdictOf(const core::AppState& state);
DeviceAnswer DeviceAnswerOf(const core::AppState& state);

/// Does `count` exchanges of one byte each way on the open port, which change nothing on board and
/// chip, and gives the time of each in seconds. It stops at the first that is not answered within a
/// second: `seconds` has fewer than `count` entries then.
void MeasureRoundTrips(core::RunContext& context, int count, std::vector<double>& seconds);

/// Shortest, middle and longest of some times; all 0 of none. The middle of an even number is the
/// mean of the two in the middle.
struct TimeSpread {
  double Minimum = 0;
  double Median = 0;
  double Maximum = 0;
};
TimeSpread SpreadOf(std::vector<double> seconds);

/// Time that an exchange of MeasureRoundTrips() spends on the wire.
double RoundTripWireSeconds();

/// How long programming the selected device will take when both memories are full and every
/// exchange lasts `extra_seconds` beyond its time on the wire; the chip's own time is not in it.
struct ProgrammingForecast {
  double WriteSeconds = 0;
  double VerifySeconds = 0;
};
ProgrammingForecast Forecast(const core::RunContext& context, double extra_seconds);

/// The same for so many words and bytes.
ProgrammingForecast Forecast(const core::RunContext& context, int words, int data_bytes,
                             double extra_seconds);

}  // namespace fenwright::ops
