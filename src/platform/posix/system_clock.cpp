#include "platform/posix/system_clock.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <time.h>

namespace fenwright::platform {
namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr std::int64_t kSecondsPerMinute = 60;
constexpr double kLongestSleep = kSecondsPerDay;

tm LocalTime(time_t seconds) {
  tm local{};
  localtime_r(&seconds, &local);
  return local;
}

std::int64_t MinuteOf(std::int64_t seconds) {
  const bool before_1970 = seconds % kSecondsPerMinute < 0;
  return seconds / kSecondsPerMinute - (before_1970 ? 1 : 0);
}

}  // namespace

double LocalTimeOfDay::At(std::int64_t seconds, std::int64_t nanoseconds) {
  const std::int64_t minute = MinuteOf(seconds);
  const std::int64_t minute_seconds = minute * kSecondsPerMinute;
  if (minute != known_minute_) {
    const tm local = LocalTime(minute_seconds);
    minute_start_ = local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec;
    known_minute_ = minute;
  }
  const double time = minute_start_ + static_cast<double>(seconds - minute_seconds) +
                      static_cast<double>(nanoseconds) * 1e-9;
  return time < kSecondsPerDay ? time : time - kSecondsPerDay;
}

SystemClock::SystemClock() { tzset(); }

double SystemClock::SecondsSinceMidnight() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return time_of_day_.At(now.tv_sec, now.tv_nsec);
}

DateTime SystemClock::Now() {
  const tm local = LocalTime(time(nullptr));
  return {.Year = local.tm_year + 1900,
          .Month = local.tm_mon + 1,
          .Day = local.tm_mday,
          .Hour = local.tm_hour,
          .Minute = local.tm_min,
          .Second = local.tm_sec};
}

void SystemClock::Sleep(double seconds) {
  if (!(seconds > 0)) return;
  const double bounded = std::min(seconds, kLongestSleep);
  timespec left{};
  left.tv_sec = static_cast<time_t>(bounded);
  left.tv_nsec = static_cast<long>((bounded - std::floor(bounded)) * 1e9);
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace fenwright::platform
