#pragma once

#include "platform/clock.h"

namespace fenwright::core {

/// Seconds that have passed since the clock showed `start`. The clock restarts at 0 at midnight:
/// for a start before it the day's 86,400 seconds are added.
double SecondsSince(platform::Clock& clock, double start);

}  // namespace fenwright::core
