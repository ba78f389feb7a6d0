#pragma once

#include <cstdint>

#include "platform/clock.h"

namespace fenwright::platform {

/// Turns the system's time into the local time of day. It looks the zone up once a minute, which
/// makes a call cheap and right across midnight and changes of the offset alike.
class LocalTimeOfDay {
 public:
  /// Seconds since local midnight, 0 <= t < 86400, for a time in seconds since 1970 (UTC) and
  /// nanoseconds.
  double At(std::int64_t seconds, std::int64_t nanoseconds);

 private:
  std::int64_t known_minute_ = INT64_MIN;  ///< its first second
  double minute_start_ = 0;                ///< local time of day at the start of that minute
};

/// The clock of the machine, in its local zone.
class SystemClock final : public Clock {
 public:
  SystemClock();
  double SecondsSinceMidnight() override;
  DateTime Now() override;
  /// Does nothing for times that are not positive.
  void Sleep(double seconds) override;

 private:
  LocalTimeOfDay time_of_day_;
};

}  // namespace fenwright::platform
