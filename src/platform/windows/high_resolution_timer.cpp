#include "platform/windows/high_resolution_timer.h"

#include <cmath>
#include <windows.h>

// Known to Windows 10 1803 and later, and not to every set of headers.
#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace fenwright::platform {
namespace {

constexpr double kStepsPerSecond = 1e7;  // the system counts in steps of 100 ns

HANDLE MakeTimer() {
  HANDLE timer = CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION,
                                        TIMER_ALL_ACCESS);
  return timer != nullptr ? timer : CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
}

}  // namespace

void RestPrecisely(double seconds) {
  HANDLE timer = MakeTimer();
  LARGE_INTEGER due{};
  due.QuadPart = -std::llround(seconds * kStepsPerSecond);  // negative: from now on
  if (timer != nullptr && SetWaitableTimer(timer, &due, 0, nullptr, nullptr, FALSE) != 0) {
    WaitForSingleObject(timer, INFINITE);
  } else {
    Sleep(static_cast<DWORD>(std::ceil(seconds * 1e3)));
  }
  if (timer != nullptr) CloseHandle(timer);
}

}  // namespace fenwright::platform
