#include "platform/asio/asio_serial_control.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/serial_port.hpp>

#include "platform/asio/line_settings.h"
#include "platform/asio/serial_native.h"

namespace fenwright::platform {
namespace {

constexpr std::size_t kFirstBufferSize = 4096;
constexpr std::size_t kLargestBufferSize = std::size_t{1} << 20;
/// Bytes that one discard takes from the system at most: a line that never falls silent must not
/// hold its caller. It is more than a system keeps for a line.
constexpr std::size_t kDiscardLimit = std::size_t{1} << 18;
constexpr std::chrono::duration<double> kOutputPatience{1.0};

using LineOption = asio::serial_port_base;

LineOption::parity::type AsioParity(LineParity parity) {
  switch (parity) {
    case LineParity::Odd:
      return LineOption::parity::odd;
    case LineParity::Even:
      return LineOption::parity::even;
    case LineParity::None:
      break;
  }
  return LineOption::parity::none;
}

LineOption::stop_bits::type AsioStopBits(LineStopBits bits) {
  switch (bits) {
    case LineStopBits::OneAndHalf:
      return LineOption::stop_bits::onepointfive;
    case LineStopBits::Two:
      return LineOption::stop_bits::two;
    case LineStopBits::One:
      break;
  }
  return LineOption::stop_bits::one;
}

bool ApplySettings(asio::serial_port& port, const LineSettings& settings) {
  asio::error_code error;
  const auto set = [&](const auto& option) {
    port.set_option(option, error);
    return !error;
  };
  return set(LineOption::baud_rate(settings.Baud)) &&
         set(LineOption::parity(AsioParity(settings.Parity))) &&
         set(LineOption::character_size(settings.DataBits)) &&
         set(LineOption::stop_bits(AsioStopBits(settings.StopBits))) &&
         set(LineOption::flow_control(LineOption::flow_control::none));
}

}  // namespace

/// One open line: from a successful opening to Close().
class AsioSerialControl::Line {
 public:
  Line() : port_(context_), received_(kFirstBufferSize) {}
  ~Line() { Release(); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  PortOpenResult Open(const std::string& path, const LineSettings& settings, bool rts) {
    native::Handle handle{};
    PortOpenResult result = native::OpenExclusive(path, handle);
    if (result.Status != PortOpenStatus::Ok) return result;
    asio::error_code error;
    port_.assign(handle, error);
    if (error) {
      native::Close(handle);
      return {PortOpenStatus::Failed, path,
              "通信ポートを使用できません。 (" + error.message() + ")"};
    }
    if (!ApplySettings(port_, settings)) {
      return {PortOpenStatus::Failed, path,
              "通信ポート " + path + " はこの通信速度や設定に対応していません。"};
    }
    native::SetRts(handle, rts);
    native::RequestLowLatency(handle);
    return result;
  }

  /// Takes what has arrived into the buffer.
  void Receive() {
    while (!gone_ && MakeRoom()) {
      const std::span<std::uint8_t> room = std::span(received_).subspan(count_);
      const native::Transfer taken = native::Read(Handle(), room);
      count_ += taken.Count;
      if (taken.Gone) return BecomeGone();
      if (taken.Count < room.size()) return;
    }
  }

  std::size_t Count() const { return count_; }

  std::vector<std::uint8_t> Take() {
    const auto end = received_.begin() + static_cast<std::ptrdiff_t>(count_);
    count_ = 0;
    return {received_.begin(), end};
  }

  void DiscardInput() {
    // Reading also takes bytes that are still on their way inside the system; its own call for
    // discarding leaves those to turn up later.
    std::size_t discarded = 0;
    count_ = 0;
    while (!gone_ && discarded < kDiscardLimit) {
      const native::Transfer taken = native::Read(Handle(), received_);
      if (taken.Gone) return BecomeGone();
      if (taken.Count < received_.size()) return;
      discarded += taken.Count;
    }
  }

  void DiscardOutput() {
    if (!gone_) native::DiscardOutput(Handle());
  }

  void Send(std::span<const std::uint8_t> bytes) {
    std::optional<std::chrono::steady_clock::time_point> deadline;
    while (!gone_ && !bytes.empty()) {
      const native::Transfer sent = native::Write(Handle(), bytes);
      if (sent.Gone) return ReceiveLastAndBecomeGone();
      bytes = bytes.subspan(sent.Count);
      if (bytes.empty()) return;
      const auto now = std::chrono::steady_clock::now();
      if (!deadline) {
        deadline = now + std::chrono::duration_cast<std::chrono::nanoseconds>(kOutputPatience);
      }
      if (now >= *deadline) return;
      const double left = std::chrono::duration<double>(*deadline - now).count();
      if (native::WaitWritable(Handle(), left) == native::Wake::Gone) {
        return ReceiveLastAndBecomeGone();
      }
    }
  }

  bool IsGone() {
    if (!gone_ && native::IsGone(Handle())) ReceiveLastAndBecomeGone();
    return gone_;
  }

  void RestUntilInput(double seconds) {
    // With a full buffer the count cannot grow, and waiting for what is there would not sleep.
    if (gone_ || !MakeRoom()) return native::Rest(seconds);
    const std::span<std::uint8_t> room = std::span(received_).subspan(count_);
    const native::Transfer taken = native::ReadWithin(Handle(), room, seconds);
    count_ += taken.Count;
    if (taken.Gone) ReceiveLastAndBecomeGone();
  }

  void SetRts(bool enable) {
    if (!gone_) native::SetRts(Handle(), enable);
  }

 private:
  native::Handle Handle() { return port_.native_handle(); }

  /// Makes room for a further byte; false when the buffer has reached its limit.
  bool MakeRoom() {
    if (count_ < received_.size()) return true;
    if (received_.size() >= kLargestBufferSize) return false;
    received_.resize(std::min(received_.size() * 2, kLargestBufferSize));
    return true;
  }

  void ReceiveLastAndBecomeGone() {
    Receive();
    BecomeGone();
  }

  void BecomeGone() {
    gone_ = true;
    Release();
  }

  void Release() {
    if (!port_.is_open()) return;
    native::ReleaseExclusive(Handle());
    asio::error_code ignored;
    port_.close(ignored);
  }

  asio::io_context context_{1};  // one thread, and nothing asynchronous runs on it
  asio::serial_port port_;
  std::vector<std::uint8_t> received_;  // the first count_ bytes are received and not yet taken
  std::size_t count_ = 0;
  bool gone_ = false;
};

AsioSerialControl::AsioSerialControl(DevicePathOf device_path)
    : device_path_(std::move(device_path)) {}

AsioSerialControl::~AsioSerialControl() = default;

void AsioSerialControl::SetCommPort(int number) { comm_port_ = number; }

int AsioSerialControl::CommPort() const { return comm_port_; }

void AsioSerialControl::SetSettings(std::string_view settings) { settings_ = settings; }

void AsioSerialControl::SetHandshaking(int) {}

void AsioSerialControl::SetInputLen(int) {}

void AsioSerialControl::SetRTSEnable(bool enable) {
  rts_enable_ = enable;
  if (line_) line_->SetRts(enable);
}

void AsioSerialControl::SetRThreshold(int) {}

void AsioSerialControl::SetInputMode(InputMode mode) { input_mode_ = mode; }

InputMode AsioSerialControl::CurrentInputMode() const { return input_mode_; }

PortOpenResult AsioSerialControl::Open() {
  const std::string path = device_path_(comm_port_);
  if (line_) return {PortOpenStatus::Ok, path, ""};
  const std::string name = "COM" + std::to_string(comm_port_);
  if (path.empty()) {
    return {PortOpenStatus::Missing, "",
            name + " に対応するデバイスがありません。--port " + name +
                "=(デバイスのパス) で指定してください。"};
  }
  const auto settings = ParseLineSettings(settings_);
  if (!settings) {
    return {PortOpenStatus::Failed, path, "通信設定 \"" + settings_ + "\" が正しくありません。"};
  }
  auto line = std::make_unique<Line>();
  PortOpenResult result = line->Open(path, *settings, rts_enable_);
  if (result.Status == PortOpenStatus::Ok) line_ = std::move(line);
  return result;
}

void AsioSerialControl::Close() { line_.reset(); }

bool AsioSerialControl::PortOpen() const { return line_ != nullptr; }

int AsioSerialControl::InBufferCount() {
  if (!line_) return 0;
  line_->Receive();
  return static_cast<int>(line_->Count());
}

void AsioSerialControl::DiscardInput() {
  if (line_) line_->DiscardInput();
}

void AsioSerialControl::DiscardOutput() {
  if (line_) line_->DiscardOutput();
}

void AsioSerialControl::Output(std::span<const std::uint8_t> bytes) {
  if (line_) line_->Send(bytes);
}

std::vector<std::uint8_t> AsioSerialControl::Input() {
  if (!line_) return {};
  line_->Receive();
  return line_->Take();
}

bool AsioSerialControl::IsGone() { return !line_ || line_->IsGone(); }

void AsioSerialControl::RestUntilInput(double seconds) {
  if (!line_) return native::Rest(seconds);
  line_->RestUntilInput(seconds);
}

}  // namespace fenwright::platform
