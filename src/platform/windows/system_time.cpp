#include "platform/system/system_time.h"

#include <cmath>
#include <windows.h>

// Known to Windows 10 1803 and later, and not to every set of headers.
#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace fenwright::platform::system_time {
namespace {

constexpr std::int64_t kStepsPerSecond = 10'000'000;  // the system counts in steps of 100 ns
constexpr std::int64_t kNanosecondsPerStep = 100;
/// From 1601, where the system's time starts, to 1970.
constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;

constexpr int kHalfBits = 32;
constexpr std::int64_t kLowHalf = 0xFFFFFFFF;

HANDLE MakeTimer() {
  HANDLE timer = CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION,
                                        TIMER_ALL_ACCESS);
  return timer != nullptr ? timer : CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
}

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

// To a fraction of a millisecond where the system can: its plain calls wait in steps of 16 ms.
void Sleep(double seconds) {
  HANDLE timer = MakeTimer();
  LARGE_INTEGER due{};
  due.QuadPart = -std::llround(seconds * double{kStepsPerSecond});  // negative: from now on
  if (timer != nullptr && SetWaitableTimer(timer, &due, 0, nullptr, nullptr, FALSE) != 0) {
    WaitForSingleObject(timer, INFINITE);
  } else {
    ::Sleep(static_cast<DWORD>(std::ceil(seconds * 1e3)));
  }
  if (timer != nullptr) CloseHandle(timer);
}

}  // namespace fenwright::platform::system_time
