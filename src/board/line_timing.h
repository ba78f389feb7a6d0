#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace fenwright::board {

/// How long one byte occupies a line with 8 data bits and no parity: start bit, 8 data bits, stop
/// bit. A baud rate of 0 stands for an infinitely fast line.
constexpr std::chrono::nanoseconds ByteTime(std::uint32_t baud) {
  constexpr std::int64_t kBitsPerByte = 10;
  constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
  return std::chrono::nanoseconds(baud == 0 ? 0 : kBitsPerByte * kNanosecondsPerSecond / baud);
}

/// One direction of a line: bytes leave one after the other.
class LineDirection {
 public:
  explicit LineDirection(std::uint32_t baud) : byte_time_(ByteTime(baud)) {}

  /// Sends a byte as soon as the line is free, not before `now`; gives the time at which it has
  /// arrived whole.
  std::chrono::nanoseconds Send(std::chrono::nanoseconds now) {
    free_at_ = std::max(free_at_, now) + byte_time_;
    return free_at_;
  }

 private:
  std::chrono::nanoseconds byte_time_;
  std::chrono::nanoseconds free_at_ = std::chrono::nanoseconds::min();
};

}  // namespace fenwright::board
