#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/serial_control.h"

namespace fenwright::platform {

/// A real serial line, on Asio's serial port and the system's own calls.
///
/// - `PortOpenResult::Reason` names the cause of a failure and its cure in Japanese, followed by
///   the system's own words in parentheses.
/// - The device is released as soon as it is found gone, so that it can come back under its own
///   name. PortOpen() stays true until Close(); a line that is gone is opened again by Close() and
///   Open().
/// - On a line that is closed or gone RestUntilInput() sleeps for its whole time, so that a loop
///   around it never spins.
/// - At most 1 MiB waits to be taken; bytes beyond it stay with the system.
/// - Dropping the output of a stuck line takes one second in total for each Output().
class AsioSerialControl final : public SerialControl {
 public:
  /// Gives the device path of a COM number, "" when none is known.
  using DevicePathOf = std::function<std::string(int com_number)>;

  explicit AsioSerialControl(DevicePathOf device_path);
  ~AsioSerialControl() override;
  AsioSerialControl(const AsioSerialControl&) = delete;
  AsioSerialControl& operator=(const AsioSerialControl&) = delete;

  void SetCommPort(int number) override;
  [[nodiscard]] int CommPort() const override;
  void SetSettings(std::string_view settings) override;
  void SetHandshaking(int mode) override;
  void SetInputLen(int length) override;
  void SetRTSEnable(bool enable) override;
  void SetRThreshold(int count) override;
  void SetInputMode(InputMode mode) override;
  [[nodiscard]] InputMode CurrentInputMode() const override;
  PortOpenResult Open() override;
  void Close() override;
  [[nodiscard]] bool PortOpen() const override;
  int InBufferCount() override;
  void DiscardInput() override;
  void DiscardOutput() override;
  void Output(std::span<const std::uint8_t> bytes) override;
  std::vector<std::uint8_t> Input() override;
  bool IsGone() override;
  void RestUntilInput(double seconds) override;

 private:
  class Line;

  DevicePathOf device_path_;
  int comm_port_ = 1;
  std::string settings_ = "57600,n,8,1";
  bool rts_enable_ = true;
  InputMode input_mode_ = InputMode::Binary;
  std::unique_ptr<Line> line_;  ///< set while the port is open
};

}  // namespace fenwright::platform
