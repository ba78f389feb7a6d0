#include "platform/system/system_serial_control.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "platform/port_info.h"
#include "platform/system/line_settings.h"
#include "platform/system/system_time.h"

namespace fenwright::platform {
namespace {

constexpr std::size_t kBlockSize = 4096;
constexpr std::size_t kLargestInput = std::size_t{1} << 20;
/// What one discard takes from the system at most: a line that never falls silent must not hold its
/// caller. It is more than a system keeps for a line.
constexpr int kMostDiscardedBlocks = 64;
constexpr double kOutputPatience = 1.0;
/// The longest command is out within a millisecond; a line that stands still holds nobody up.
constexpr double kDrainPatience = 0.1;
constexpr double kLongestRest = 86400.0;

}  // namespace

SystemSerialControl::SystemSerialControl(DevicePathOf device_path)
    : device_path_(std::move(device_path)) {}

SystemSerialControl::~SystemSerialControl() { SystemSerialControl::Close(); }

void SystemSerialControl::SetRTSEnable(bool enable) {
  rts_enable_ = enable;
  if (line_) native::SetRts(*line_, enable);
}

PortOpenResult SystemSerialControl::Open() {
  const std::string path = device_path_(comm_port_);
  if (open_) return {PortOpenStatus::Ok, path, ""};
  const std::string name = ComName(comm_port_);
  if (path.empty()) {
    return {PortOpenStatus::Missing, "",
            name + " に対応するデバイスがありません。--port " + name +
                "=(デバイスのパス) で指定してください。"};
  }
  const auto settings = ParseLineSettings(settings_);
  if (!settings) {
    return {PortOpenStatus::Failed, path, "通信設定 \"" + settings_ + "\" が正しくありません。"};
  }
  native::Handle line{};
  PortOpenResult result = native::OpenExclusive(path, line);
  if (result.Status != PortOpenStatus::Ok) return result;
  if (!native::Configure(line, *settings)) {
    native::Close(line);
    return {PortOpenStatus::Failed, path,
            "通信ポート " + path + " はこの通信速度や設定に対応していません。"};
  }
  native::SetRts(line, rts_enable_);
  line_ = line;
  open_ = true;
  return result;
}

void SystemSerialControl::Close() {
  // The last command may leave programming mode, and some systems drop what is not out yet.
  if (line_) native::Drain(*line_, kDrainPatience);
  Release();
  received_.clear();
  open_ = false;
}

int SystemSerialControl::InBufferCount() {
  Receive();
  return static_cast<int>(received_.size());
}

void SystemSerialControl::DiscardInput() {
  // Reading also takes bytes that are still on their way inside the system; its own call for
  // discarding leaves those to turn up later.
  bool more = true;
  for (int i = 0; more && i < kMostDiscardedBlocks; ++i) {
    received_.clear();
    more = ReceiveBlock(0);
  }
  received_.clear();
}

void SystemSerialControl::DiscardOutput() {
  if (line_) native::DiscardOutput(*line_);
}

void SystemSerialControl::Output(std::span<const std::uint8_t> bytes) {
  using std::chrono::duration;
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + duration<double>(kOutputPatience);
  while (line_ && !bytes.empty()) {
    const double left = duration<double>(end - steady_clock::now()).count();
    const native::Transfer sent = native::Write(*line_, bytes, std::max(left, 0.0));
    if (sent.Gone) return Lose();
    if (sent.Count == 0) return;
    bytes = bytes.subspan(sent.Count);
  }
}

std::vector<std::uint8_t> SystemSerialControl::Input() {
  Receive();
  return std::exchange(received_, {});
}

bool SystemSerialControl::IsGone() {
  if (line_ && native::IsGone(*line_)) Lose();
  return !line_;
}

void SystemSerialControl::RestUntilInput(double seconds) {
  const double rest = seconds > 0 ? std::min(seconds, kLongestRest) : 0;
  // With a full buffer the count cannot grow, and waiting for what is there would not sleep.
  if (!line_ || received_.size() >= kLargestInput) return system_time::Sleep(rest);
  ReceiveBlock(rest);
}

bool SystemSerialControl::ReceiveBlock(double seconds) {
  if (!line_ || received_.size() >= kLargestInput) return false;
  std::array<std::uint8_t, kBlockSize> block{};
  const auto room = std::span(block).first(std::min(kBlockSize, kLargestInput - received_.size()));
  const native::Transfer taken = native::Read(*line_, room, seconds);
  const auto arrived = room.first(taken.Count);
  received_.insert(received_.end(), arrived.begin(), arrived.end());
  if (taken.Gone) Release();
  return taken.Count > 0;
}

void SystemSerialControl::Receive() {
  while (ReceiveBlock(0)) {
  }
}

void SystemSerialControl::Lose() {
  Receive();
  Release();
}

void SystemSerialControl::Release() {
  if (line_) native::Close(*std::exchange(line_, std::nullopt));
}

}  // namespace fenwright::platform
