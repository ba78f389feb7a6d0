#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "board/line_end.h"
#include "board/line_record.h"
#include "board/line_timing.h"

namespace fenwright::board {

/// The board's side of a recorded run: it waits for the bytes that the PC sent then and answers
/// each exchange with the recorded reply, at the pace of the line and with the recorded pauses.
///
/// A byte that the record does not have there hangs the line up at once: what came after it would
/// be the answer to something else.
class RecordedBoard : public LineEnd {
 public:
  /// The record has an exchange at least. A baud rate of 0 stands for an infinitely fast line.
  RecordedBoard(std::vector<RecordedExchange> record, std::uint32_t baud,
                std::chrono::nanoseconds latency);

  void Receive(std::span<const std::uint8_t> bytes, std::chrono::nanoseconds now) override;
  [[nodiscard]] std::optional<std::chrono::nanoseconds> NextDue() const override;
  std::vector<std::uint8_t> TakeDue(std::chrono::nanoseconds now) override;
  [[nodiscard]] bool HungUp() const override { return hung_up_; }
  [[nodiscard]] bool EndsWithLine() const override { return IsPlayed(); }

  /// True when the record was played to its end and nothing else came.
  [[nodiscard]] bool IsPlayed() const;

  /// How many exchanges the record has.
  [[nodiscard]] std::size_t Size() const { return record_.size(); }

  /// Where the record and the run have parted, or where the run has not come to: "" when
  /// IsPlayed().
  [[nodiscard]] std::string WhyNotPlayed() const;

 private:
  struct DueByte {
    std::chrono::nanoseconds At;
    std::uint8_t Value;
  };

  /// Plays what needs no byte of the PC (any more). Its last one came at `now` and has arrived at
  /// `arrival`.
  void Answer(std::chrono::nanoseconds now, std::chrono::nanoseconds arrival);
  [[nodiscard]] bool IsMatched() const { return exchange_ == record_.size(); }
  [[nodiscard]] std::string Place() const;

  std::vector<RecordedExchange> record_;
  std::size_t exchange_ = 0;  ///< that is being waited for
  std::size_t matched_ = 0;   ///< bytes of it that have come
  std::vector<std::uint8_t> wrong_;
  std::chrono::nanoseconds latency_;
  LineDirection to_board_;
  LineDirection to_pc_;
  std::deque<DueByte> due_;
  std::chrono::nanoseconds answered_ = std::chrono::nanoseconds::min();
  std::optional<std::chrono::nanoseconds> hang_up_at_;
  bool hung_up_ = false;
};

}  // namespace fenwright::board
