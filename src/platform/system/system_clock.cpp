#include "platform/system/system_clock.h"

#include <algorithm>
#include <chrono>

#include "platform/system/system_time.h"

namespace fenwright::platform {
namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr double kLongestSleep = kSecondsPerDay;

}  // namespace

double LocalTimeOfDay::At(std::int64_t seconds, std::int64_t nanoseconds) {
  const std::chrono::seconds minute =
      std::chrono::floor<std::chrono::minutes>(std::chrono::seconds(seconds));
  if (minute.count() != known_minute_) {
    known_minute_ = minute.count();
    const DateTime local = system_time::Local(known_minute_);
    minute_start_ = local.Hour * 3600.0 + local.Minute * 60.0 + local.Second;
  }
  const double time = minute_start_ + static_cast<double>(seconds - known_minute_) +
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
