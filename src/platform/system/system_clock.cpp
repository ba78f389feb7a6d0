#include "platform/system/system_clock.h"

#include <algorithm>

#include "platform/system/system_time.h"

namespace fenwright::platform {
namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr std::int64_t kSecondsPerMinute = 60;
constexpr double kLongestSleep = kSecondsPerDay;

std::int64_t MinuteOf(std::int64_t seconds) {
  const bool before_1970 = seconds % kSecondsPerMinute < 0;
  return seconds / kSecondsPerMinute - (before_1970 ? 1 : 0);
}

}  // namespace

double LocalTimeOfDay::At(std::int64_t seconds, std::int64_t nanoseconds) {
  const std::int64_t minute = MinuteOf(seconds);
  const std::int64_t minute_seconds = minute * kSecondsPerMinute;
  if (minute != known_minute_) {
    const DateTime local = system_time::Local(minute_seconds);
    minute_start_ = local.Hour * 3600.0 + local.Minute * 60.0 + local.Second;
    known_minute_ = minute;
  }
  const double time = minute_start_ + static_cast<double>(seconds - minute_seconds) +
                      static_cast<double>(nanoseconds) * 1e-9;
  return time < kSecondsPerDay ? time : time - kSecondsPerDay;
}

SystemClock::SystemClock() { system_time::LearnZone(); }

double SystemClock::SecondsSinceMidnight() {
  const system_time::Moment now = system_time::Now();
  return time_of_day_.At(now.Seconds, now.Nanoseconds);
}

DateTime SystemClock::Now() { return system_time::Local(system_time::Now().Seconds); }

void SystemClock::Sleep(double seconds) {
  if (seconds > 0) system_time::Sleep(std::min(seconds, kLongestSleep));
}

}  // namespace fenwright::platform
