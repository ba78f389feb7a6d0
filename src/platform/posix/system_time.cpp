#include "platform/system/system_time.h"

#include <chrono>
#include <thread>
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

void Sleep(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

}  // namespace fenwright::platform::system_time
