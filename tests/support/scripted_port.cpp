#include "support/scripted_port.h"

#include <cctype>

#include "core/hex_format.h"

namespace fenwright::testing {

Bytes Hex(std::string_view text) {
  Bytes bytes;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\'') {
      quoted = !quoted;
    } else if (quoted) {
      bytes.push_back(static_cast<std::uint8_t>(text[i]));
    } else if (std::isxdigit(static_cast<unsigned char>(text[i])) != 0) {
      bytes.push_back(
          static_cast<std::uint8_t>(std::stoul(std::string(text.substr(i, 2)), nullptr, 16)));
      ++i;
    }
  }
  return bytes;
}

std::string ToHex(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += core::HexByte(byte);
  }
  return text;
}

ScriptedPort::~ScriptedPort() {
  EXPECT_TRUE(steps_.empty()) << "never sent: " << ToHex(steps_.front().Sent);
  EXPECT_TRUE(pending_.empty()) << "sent but not expected: " << ToHex(pending_);
}

ScriptedPort& ScriptedPort::Expect(std::string_view sent, std::string_view reply, double delay) {
  std::vector<Part> parts;
  if (!reply.empty()) parts.push_back({delay, Hex(reply)});
  return ExpectParts(sent, std::move(parts));
}

ScriptedPort& ScriptedPort::ExpectParts(std::string_view sent, std::vector<Part> parts) {
  steps_.push_back({.Sent = Hex(sent), .Parts = std::move(parts)});
  return *this;
}

ScriptedPort& ScriptedPort::ThenHangUp() {
  steps_.push_back({.Sent = {}, .Parts = {}, .HangUp = true});
  return *this;
}

void ScriptedPort::SetCommPort(int number) {
  number_ = number;
  Keep("CommPort=" + std::to_string(number));
}
void ScriptedPort::SetSettings(std::string_view settings) {
  Keep("Settings=" + std::string(settings));
}
void ScriptedPort::SetHandshaking(int mode) { Keep("Handshaking=" + std::to_string(mode)); }
void ScriptedPort::SetInputLen(int length) { Keep("InputLen=" + std::to_string(length)); }
void ScriptedPort::SetRTSEnable(bool enable) {
  Keep(enable ? "RTSEnable=true" : "RTSEnable=false");
}
void ScriptedPort::SetRThreshold(int count) { Keep("RThreshold=" + std::to_string(count)); }
void ScriptedPort::SetInputMode(InputMode mode) {
  mode_ = mode;
  Keep(mode == InputMode::Text ? "InputMode=text" : "InputMode=binary");
}

platform::PortOpenResult ScriptedPort::Open() {
  Keep("Open");
  open_ = OpenResult.Status == PortOpenStatus::Ok;
  PlayHangUps();
  return OpenResult;
}

void ScriptedPort::Close() {
  if (open_) Keep("Close");
  open_ = false;
}

int ScriptedPort::InBufferCount() {
  Receive();
  return static_cast<int>(received_.size());
}

void ScriptedPort::DiscardInput() {
  Keep("DiscardInput");
  Receive();
  received_.clear();
}

void ScriptedPort::DiscardOutput() { Keep("DiscardOutput"); }

void ScriptedPort::Output(std::span<const std::uint8_t> bytes) {
  Keep("Output " + ToHex(bytes));
  if (!open_ || gone_) return;
  Sent.insert(Sent.end(), bytes.begin(), bytes.end());
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  if (steps_.empty()) {
    ADD_FAILURE() << "sent after the end of the script: " << ToHex(pending_);
    pending_.clear();
    return;
  }
  const Step& step = steps_.front();
  const bool fits = pending_.size() <= step.Sent.size() &&
                    std::equal(pending_.begin(), pending_.end(), step.Sent.begin());
  if (!fits) {
    ADD_FAILURE() << "expected " << ToHex(step.Sent) << ", sent " << ToHex(pending_);
    pending_.clear();
    return;
  }
  if (pending_.size() < step.Sent.size()) return;
  double at = clock_.Elapsed();
  for (const Part& part : step.Parts) {
    at += part.Delay;
    for (const std::uint8_t byte : part.Data) due_.push_back({at, byte});
  }
  pending_.clear();
  steps_.pop_front();
  PlayHangUps();
}

Bytes ScriptedPort::Input() {
  Receive();
  Bytes taken;
  taken.swap(received_);
  return taken;
}

void ScriptedPort::RestUntilInput(double seconds) {
  Receive();
  double rest = seconds;
  if (!due_.empty()) rest = std::min(rest, due_.front().At - clock_.Elapsed());
  // A rest always takes some time, so that no wait can stand still.
  constexpr double kLeast = 1e-6;
  clock_.Advance(std::max(rest, kLeast));
  Receive();
}

void ScriptedPort::Keep(std::string entry) {
  Note(entry);
  Log.push_back(std::move(entry));
}

void ScriptedPort::PlayHangUps() {
  while (!steps_.empty() && steps_.front().HangUp) {
    gone_ = true;
    steps_.pop_front();
  }
}

void ScriptedPort::Receive() {
  while (!due_.empty() && due_.front().At <= clock_.Elapsed()) {
    received_.push_back(due_.front().Value);
    due_.pop_front();
  }
}

}  // namespace fenwright::testing
