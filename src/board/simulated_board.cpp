#include "board/simulated_board.h"

#include <algorithm>
#include <utility>

namespace fenwright::board {
namespace {

using std::chrono::nanoseconds;

/// Longest pause between two bytes of an update frame.
constexpr nanoseconds kFramePause = std::chrono::milliseconds(100);

const ChipModel& ModelOrEmpty(std::string_view name) {
  const ChipModel* model = FindChip(name);
  // The empty socket stands at the end of the table.
  return model != nullptr ? *model : ChipModels().back();
}

}  // namespace

SimulatedBoard::SimulatedBoard(SimulatedBoardOptions options)
    : baud_(options.Baud),
      latency_(options.Latency),
      faults_(std::move(options.Faults)),
      socket_(&ChipOf(ModelOrEmpty(options.Chip))),
      protocol_(std::move(options.Board), socket_),
      to_board_(baud_),
      to_pc_(baud_) {
  protocol_.CarriesOutWrite = [this] { return faults_.CarriesOutWrite(); };
}

Chip& SimulatedBoard::ChipOf(const ChipModel& model) {
  const auto [position, made] = chips_.try_emplace(model.Name, model);
  if (made) {
    faults_.DamageChip(position->second);
  }
  return position->second;
}

bool SimulatedBoard::InsertChip(std::string_view name) {
  const ChipModel* model = FindChip(name);
  if (model == nullptr) {
    return false;
  }
  socket_ = &ChipOf(*model);
  protocol_.Insert(socket_);
  return true;
}

void SimulatedBoard::Receive(std::span<const std::uint8_t> bytes, nanoseconds now) {
  NoteTime(now);
  for (const std::uint8_t byte : bytes) {
    const nanoseconds arrival = to_board_.Send(now);
    if (!hang_up_at_) {
      Arrive(byte, arrival);
    }
  }
}

void SimulatedBoard::Arrive(std::uint8_t byte, nanoseconds at) {
  ++received_;
  if (faults_.HangsUpAt(received_)) {
    hang_up_at_ = at;
    return;
  }
  if (faults_.LosesPowerAt(received_)) {
    CutPower(at);
    return;
  }
  if (at - last_arrival_ > kFramePause) {
    protocol_.ForgetFrame();
  }
  last_arrival_ = at;
  const nanoseconds start = std::max(at, busy_until_);
  if (auto reply = protocol_.Feed(byte)) {
    Answer(std::move(*reply), start);
  }
}

/// What the board had still to send is lost; the line itself stays.
void SimulatedBoard::CutPower(nanoseconds at) {
  while (!due_.empty() && due_.back().At > at + latency_) {
    due_.pop_back();
  }
  busy_until_ = at;
  to_pc_ = LineDirection(baud_);
  protocol_.Restart();
}

void SimulatedBoard::Answer(BoardReply reply, nanoseconds start) {
  nanoseconds ready = start + reply.Delay;
  for (const ReplyPart& part : faults_.Reply(std::move(reply.Bytes))) {
    ready += part.Delay;
    for (const std::uint8_t byte : part.Bytes) {
      due_.push_back({.At = to_pc_.Send(ready) + latency_, .Value = byte});
    }
  }
  busy_until_ = ready;
}

void SimulatedBoard::NoteTime(nanoseconds now) {
  if (hang_up_at_ && now >= *hang_up_at_) {
    hung_up_ = true;
  }
}

std::optional<nanoseconds> SimulatedBoard::NextDue() const {
  if (hung_up_) {
    return std::nullopt;
  }
  if (due_.empty()) {
    return hang_up_at_;
  }
  return hang_up_at_ ? std::min(*hang_up_at_, due_.front().At) : due_.front().At;
}

std::vector<std::uint8_t> SimulatedBoard::TakeDue(nanoseconds now) {
  const auto lost = [this](const DueByte& byte) { return hang_up_at_ && byte.At > *hang_up_at_; };
  std::vector<std::uint8_t> bytes;
  while (!due_.empty() && due_.front().At <= now && !lost(due_.front())) {
    bytes.push_back(due_.front().Value);
    due_.pop_front();
  }
  NoteTime(now);
  if (hung_up_) {
    due_.clear();
  }
  return bytes;
}

void SimulatedBoard::PlugIn() {
  hang_up_at_.reset();
  hung_up_ = false;
  due_.clear();
  busy_until_ = nanoseconds::min();
  to_board_ = LineDirection(baud_);
  to_pc_ = LineDirection(baud_);
  protocol_.Restart();
}

bool SimulatedBoard::Connect() {
  if (connected_ || hung_up_) {
    return false;
  }
  connected_ = true;
  return true;
}

}  // namespace fenwright::board
