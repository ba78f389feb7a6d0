#pragma once

#include <cstdint>

#include "platform/clock.h"

/// The calls that the clock needs from the system itself. Each system has one file that implements
/// them; nothing fails.
namespace fenwright::platform::system_time {

/// A moment: whole seconds since 1970 (UTC) and nanoseconds.
struct Moment {
  std::int64_t Seconds = 0;
  std::int64_t Nanoseconds = 0;
};

/// Takes over a change of the local zone, where the system does not do so by itself.
void LearnZone();

Moment Now();

/// Local date and time of a time in seconds since 1970 (UTC).
DateTime Local(std::int64_t seconds);

/// Rests for `seconds`, 0 to a day.
void Sleep(double seconds);

}  // namespace fenwright::platform::system_time
