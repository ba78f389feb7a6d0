#include "board/recorded_board.h"

#include <algorithm>
#include <utility>

namespace fenwright::board {
namespace {

using std::chrono::nanoseconds;

/// Bytes for a line of text.
std::string Shorten(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kMost = 16;
  if (bytes.size() <= kMost) return FormatBytes(bytes);
  return FormatBytes(bytes.first(kMost)) + " ...";
}

}  // namespace

RecordedBoard::RecordedBoard(std::vector<RecordedExchange> record, std::uint32_t baud,
                             nanoseconds latency)
    : record_(std::move(record)), latency_(latency), to_board_(baud), to_pc_(baud) {
  // What a board says unasked is there before the PC has sent anything.
  if (record_.front().Sent.empty()) Answer(nanoseconds::zero(), nanoseconds::zero());
}

void RecordedBoard::Receive(std::span<const std::uint8_t> bytes, nanoseconds now) {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const nanoseconds arrival = to_board_.Send(now);
    if (hang_up_at_) return;
    if (IsMatched() || bytes[i] != record_[exchange_].Sent[matched_]) {
      wrong_.assign(bytes.begin() + static_cast<std::ptrdiff_t>(i), bytes.end());
      hung_up_ = true;
      return;
    }
    ++matched_;
    if (matched_ == record_[exchange_].Sent.size()) Answer(now, arrival);
  }
}

void RecordedBoard::Answer(nanoseconds now, nanoseconds arrival) {
  const RecordedExchange& exchange = record_[exchange_];
  nanoseconds before = now;
  nanoseconds ready = std::max(arrival, answered_);
  for (const ReplyPart& part : exchange.Reply) {
    ready = std::max(ready, before + part.Delay);
    for (const std::uint8_t byte : part.Bytes) {
      before = to_pc_.Send(ready) + latency_;
      due_.push_back({.At = before, .Value = byte});
    }
    before = ready = std::max(ready, before);
  }
  answered_ = ready;
  if (exchange.HangsUp) hang_up_at_ = ready;
  ++exchange_;
  matched_ = 0;
}

std::optional<nanoseconds> RecordedBoard::NextDue() const {
  if (hung_up_) return std::nullopt;
  if (due_.empty()) return hang_up_at_;
  return due_.front().At;
}

std::vector<std::uint8_t> RecordedBoard::TakeDue(nanoseconds now) {
  std::vector<std::uint8_t> bytes;
  while (!due_.empty() && due_.front().At <= now) {
    bytes.push_back(due_.front().Value);
    due_.pop_front();
  }
  if (hang_up_at_ && due_.empty() && now >= *hang_up_at_) hung_up_ = true;
  return bytes;
}

bool RecordedBoard::IsPlayed() const {
  const bool is_gone = !hang_up_at_ || hung_up_;
  return IsMatched() && wrong_.empty() && due_.empty() && is_gone;
}

std::string RecordedBoard::Place() const {
  return "exchange " + std::to_string(exchange_ + 1) + " of " + std::to_string(record_.size()) +
         " (line " + std::to_string(record_[exchange_].Line) + ")";
}

std::string RecordedBoard::WhyNotPlayed() const {
  if (IsPlayed()) return "";
  if (IsMatched()) {
    const std::string after = "after the last of " + std::to_string(record_.size()) + " exchanges ";
    if (wrong_.empty()) return after + "its reply was not taken";
    return after + "nothing was expected, and " + Shorten(wrong_) + " came";
  }
  const std::vector<std::uint8_t>& sent = record_[exchange_].Sent;
  if (wrong_.empty()) {
    const std::vector<std::uint8_t> missing(sent.begin() + static_cast<std::ptrdiff_t>(matched_),
                                            sent.end());
    return Place() + " was not reached: " + Shorten(missing) + " did not come";
  }
  std::vector<std::uint8_t> came(sent.begin(),
                                 sent.begin() + static_cast<std::ptrdiff_t>(matched_));
  came.insert(came.end(), wrong_.begin(), wrong_.end());
  return Place() + " is another one: " + Shorten(sent) + " was expected, " + Shorten(came) +
         " came";
}

}  // namespace fenwright::board
