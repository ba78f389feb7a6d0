#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace fenwright::board {

/// The board's end of a serial line: a discrete-event model that has no thread and no clock of its
/// own. All times are nanoseconds since an arbitrary start, given by the caller; they must not
/// fall.
class LineEnd {
 public:
  LineEnd() = default;
  virtual ~LineEnd() = default;
  LineEnd(const LineEnd&) = delete;
  LineEnd& operator=(const LineEnd&) = delete;

  /// The PC sends bytes at `now`.
  virtual void Receive(std::span<const std::uint8_t> bytes, std::chrono::nanoseconds now) = 0;

  /// When the next byte reaches the PC or the line hangs up; nothing: only after another Receive().
  [[nodiscard]] virtual std::optional<std::chrono::nanoseconds> NextDue() const = 0;

  /// Takes the bytes that have reached the PC by `now`.
  virtual std::vector<std::uint8_t> TakeDue(std::chrono::nanoseconds now) = 0;

  /// True once a Receive() or TakeDue() has seen the time of a hang-up pass. Nothing comes any
  /// more.
  [[nodiscard]] virtual bool HungUp() const = 0;

  /// True when there is nothing left to do once the PC closes the line.
  [[nodiscard]] virtual bool EndsWithLine() const { return false; }
};

}  // namespace fenwright::board
