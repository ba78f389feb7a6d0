#include "platform/system/system_time.h"

#include <cerrno>
#include <cmath>
#include <time.h>

namespace fenwright::platform::system_time {

void LearnZone() { tzset(); }

Moment Now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return {.Seconds = now.tv_sec, .Nanoseconds = now.tv_nsec};
}

DateTime Local(std::int64_t seconds) {
  const time_t time = seconds;
  tm local{};
  localtime_r(&time, &local);
  return {.Year = local.tm_year + 1900,
          .Month = local.tm_mon + 1,
          .Day = local.tm_mday,
          .Hour = local.tm_hour,
          .Minute = local.tm_min,
          .Second = local.tm_sec};
}

void Sleep(double seconds) {
  timespec left{};
  left.tv_sec = static_cast<time_t>(seconds);
  left.tv_nsec = static_cast<long>((seconds - std::floor(seconds)) * 1e9);
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace fenwright::platform::system_time
