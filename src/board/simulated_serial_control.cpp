#include "board/simulated_serial_control.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <thread>
#include <utility>

namespace fenwright::board {
namespace {

using platform::PortOpenResult;
using platform::PortOpenStatus;
using std::chrono::nanoseconds;

constexpr std::string_view kPath = "simulated board";

/// The baud rate of "baud,parity,data bits,stop bits"; nothing when the text does not begin so.
std::optional<std::uint32_t> BaudOf(std::string_view settings) {
  std::uint32_t baud = 0;
  const auto [end, problem] =
      std::from_chars(settings.data(), settings.data() + settings.size(), baud);
  const bool complete = end != settings.data() + settings.size() && *end == ',';
  if (problem != std::errc{} || !complete || baud == 0) {
    return std::nullopt;
  }
  return baud;
}

nanoseconds FromSeconds(double seconds) {
  constexpr double kLongest = 1e9;
  const double bounded = std::isfinite(seconds) ? std::clamp(seconds, 0.0, kLongest) : 0.0;
  return std::chrono::duration_cast<nanoseconds>(std::chrono::duration<double>(bounded));
}

}  // namespace

TimeSource SteadyTimeSource() {
  return {.Now =
              [] {
                return std::chrono::duration_cast<nanoseconds>(
                    std::chrono::steady_clock::now().time_since_epoch());
              },
          .Rest = [](nanoseconds time) { std::this_thread::sleep_for(time); }};
}

SimulatedSerialControl::SimulatedSerialControl(std::shared_ptr<SimulatedBoard> board,
                                               TimeSource time)
    : board_(std::move(board)), time_(std::move(time)) {}

SimulatedSerialControl::SimulatedSerialControl(SimulatedBoardOptions options, TimeSource time)
    : SimulatedSerialControl(std::make_shared<SimulatedBoard>(std::move(options)),
                             std::move(time)) {}

SimulatedSerialControl::~SimulatedSerialControl() {
  if (open_) {
    board_->Disconnect();
  }
}

PortOpenResult SimulatedSerialControl::Refusal(PortOpenStatus status,
                                               std::string_view reason) const {
  return {.Status = status, .Path = std::string(kPath), .Reason = std::string(reason)};
}

PortOpenResult SimulatedSerialControl::Open() {
  if (open_) {
    return {.Status = PortOpenStatus::Ok, .Path = std::string(kPath), .Reason = ""};
  }
  const auto baud = BaudOf(settings_);
  if (!baud) {
    return Refusal(PortOpenStatus::Failed, "settings not understood: " + settings_);
  }
  const auto stale = board_->TakeDue(time_.Now());
  if (board_->HungUp()) {
    return Refusal(PortOpenStatus::Missing, "the simulated board is unplugged");
  }
  if (!board_->Connect()) {
    return Refusal(PortOpenStatus::Busy, "the simulated board is in use");
  }
  if (ChipInSocket && !board_->InsertChip(ChipInSocket())) {
    board_->InsertChip("empty");
  }
  understood_ = board_->Baud() == 0 || board_->Baud() == *baud;
  received_.clear();
  gone_ = false;
  open_ = true;
  return {.Status = PortOpenStatus::Ok, .Path = std::string(kPath), .Reason = ""};
}

void SimulatedSerialControl::Close() {
  if (!open_) {
    return;
  }
  open_ = false;
  received_.clear();
  board_->Disconnect();
}

void SimulatedSerialControl::Collect() {
  if (!open_ || gone_) {
    return;
  }
  const auto bytes = board_->TakeDue(time_.Now());
  if (understood_) {
    received_.insert(received_.end(), bytes.begin(), bytes.end());
  }
  gone_ = board_->HungUp();
}

int SimulatedSerialControl::InBufferCount() {
  Collect();
  return static_cast<int>(received_.size());
}

void SimulatedSerialControl::DiscardInput() {
  Collect();
  received_.clear();
}

void SimulatedSerialControl::Output(std::span<const std::uint8_t> bytes) {
  if (IsGone()) {
    return;
  }
  if (OnOutput) {
    OnOutput(bytes);
  }
  if (understood_) {
    board_->Receive(bytes, time_.Now());
  }
}

std::vector<std::uint8_t> SimulatedSerialControl::Input() {
  Collect();
  return std::exchange(received_, {});
}

bool SimulatedSerialControl::IsGone() {
  Collect();
  return !open_ || gone_;
}

std::optional<nanoseconds> SimulatedSerialControl::NextEvent(nanoseconds now) const {
  if (!open_ || gone_) {
    return std::nullopt;
  }
  if (board_->HungUp()) {
    return now;
  }
  return understood_ ? board_->NextDue() : std::nullopt;
}

void SimulatedSerialControl::RestUntilInput(double seconds) {
  // Nothing is collected first: a byte that is just due would be taken in, and the rest miss it.
  const nanoseconds now = time_.Now();
  const nanoseconds limit = now + FromSeconds(seconds);
  const nanoseconds until = std::min(NextEvent(now).value_or(limit), limit);
  if (until > now) {
    time_.Rest(until - now);
  }
}

}  // namespace fenwright::board
