#include "platform/system/system_time.h"

#include <windows.h>

#include "platform/windows/high_resolution_timer.h"

namespace fenwright::platform::system_time {
namespace {

constexpr std::int64_t kStepsPerSecond = 10'000'000;  // the system counts in steps of 100 ns
constexpr std::int64_t kNanosecondsPerStep = 100;
/// From 1601, where the system's time starts, to 1970.
constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;

constexpr int kHalfBits = 32;
constexpr std::int64_t kLowHalf = 0xFFFFFFFF;

}  // namespace

// The system looks the zone up at every conversion.
void LearnZone() {}

Moment Now() {
  FILETIME time{};
  GetSystemTimePreciseAsFileTime(&time);
  const std::int64_t steps =
      (std::int64_t{time.dwHighDateTime} << kHalfBits) + std::int64_t{time.dwLowDateTime};
  return {.Seconds = steps / kStepsPerSecond - kSecondsTo1970,
          .Nanoseconds = steps % kStepsPerSecond * kNanosecondsPerStep};
}

DateTime Local(std::int64_t seconds) {
  const std::int64_t steps = (seconds + kSecondsTo1970) * kStepsPerSecond;
  const FILETIME time{.dwLowDateTime = static_cast<DWORD>(steps & kLowHalf),
                      .dwHighDateTime = static_cast<DWORD>(steps >> kHalfBits)};
  SYSTEMTIME universal{};
  SYSTEMTIME local{};
  FileTimeToSystemTime(&time, &universal);
  SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local);
  return {.Year = local.wYear,
          .Month = local.wMonth,
          .Day = local.wDay,
          .Hour = local.wHour,
          .Minute = local.wMinute,
          .Second = local.wSecond};
}

void Sleep(double seconds) { RestPrecisely(seconds); }

}  // namespace fenwright::platform::system_time
