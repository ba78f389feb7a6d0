#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/serial_control.h"
#include "platform/system/serial_native.h"

namespace fenwright::platform {

/// A serial line of the system.
///
/// - `PortOpenResult::Reason` names the cause of a failure and its cure in Japanese, followed by
///   the system's own words in parentheses.
/// - The device is released as soon as it is found gone, so that it can come back under its own
///   name. PortOpen() stays true until Close(); a line that is gone is opened again by Close() and
///   Open().
/// - On a line that is closed or gone RestUntilInput() sleeps for its whole time, so that a loop
///   around it never spins.
/// - Close() waits until what was written is out, a tenth of a second at most.
///   What a stuck line has not taken by then
///   is dropped.
/// - At most 1 MiB waits to be taken; bytes beyond it stay with the system.
/// - Dropping the output of a stuck line takes one second in total for each Output().
class SystemSerialControl final : public SerialControl {
 public:
  /// Gives the device path of a COM number, "" when none is known.
  using DevicePathOf = std::function<std::string(int com_number)>;

  explicit SystemSerialControl(DevicePathOf device_path);
  ~SystemSerialControl() override;
  SystemSerialControl(const SystemSerialControl&) = delete;
  SystemSerialControl& operator=(const SystemSerialControl&) = delete;

  void SetCommPort(int number) override { comm_port_ = number; }
  [[nodiscard]] int CommPort() const override { return comm_port_; }
  void SetSettings(std::string_view settings) override { settings_ = settings; }
  void SetHandshaking(int /*mode*/) override {}
  void SetInputLen(int /*length*/) override {}
  void SetRTSEnable(bool enable) override;
  void SetRThreshold(int /*count*/) override {}
  void SetInputMode(InputMode mode) override { input_mode_ = mode; }
  [[nodiscard]] InputMode CurrentInputMode() const override { return input_mode_; }
  PortOpenResult Open() override;
  void Close() override;
  [[nodiscard]] bool PortOpen() const override { return open_; }
  int InBufferCount() override;
  void DiscardInput() override;
  void DiscardOutput() override;
  void Output(std::span<const std::uint8_t> bytes) override;
  std::vector<std::uint8_t> Input() override;
  bool IsGone() override;
  void RestUntilInput(double seconds) override;

 private:
  /// Takes a block of what has arrived; sleeps for up to `seconds` until something does. True when
  /// something came, and so more may be there.
  bool ReceiveBlock(double seconds);
  void Receive();

  /// The line is gone: takes what had arrived on it and gives the device back.
  void Lose();
  void Release();

  DevicePathOf device_path_;
  int comm_port_ = 1;
  std::string settings_ = "57600,n,8,1";
  bool rts_enable_ = true;
  InputMode input_mode_ = InputMode::Binary;
  bool open_ = false;
  std::optional<native::Handle> line_;  ///< while the port is open and the line is not gone
  std::vector<std::uint8_t> received_;  ///< and not yet taken
};

}  // namespace fenwright::platform
