#pragma once

#include <chrono>

#include "board/simulated_serial_control.h"
#include "platform/clock.h"

namespace fenwright::pictures {

/// A time that passes only when somebody rests on it: pictures show the same seconds every time,
/// and a slow line costs none.
class SimulatedTime final : public platform::Clock {
 public:
  double SecondsSinceMidnight() override {
    return std::chrono::duration<double>(kStart + now_).count();
  }
  platform::DateTime Now() override {
    return {.Year = 2025, .Month = 4, .Day = 1, .Hour = 10, .Minute = 0, .Second = 0};
  }
  void Sleep(double seconds) override { Pass(std::chrono::duration<double>(seconds)); }

  /// The same time for a simulated line.
  board::TimeSource Source() {
    return {.Now = [this] { return now_; },
            .Rest = [this](std::chrono::nanoseconds time) { Pass(time); }};
  }

 private:
  static constexpr std::chrono::hours kStart{10};

  void Pass(std::chrono::duration<double> time) {
    now_ += std::chrono::duration_cast<std::chrono::nanoseconds>(time);
  }

  std::chrono::nanoseconds now_{};
};

}  // namespace fenwright::pictures
