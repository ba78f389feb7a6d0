#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "board/simulated_board.h"
#include "platform/serial_control.h"

namespace fenwright::board {

/// The time that a simulated line runs on: what time it is, and how to let time pass.
struct TimeSource {
  std::function<std::chrono::nanoseconds()> Now;
  std::function<void(std::chrono::nanoseconds)> Rest;
};

/// Real time: the steady clock, and a rest of the calling thread.
TimeSource SteadyTimeSource();

/// The serial port of a simulated board inside the program.
///
/// Every port number leads to the board. One control at a time can have it open; the others find
/// it busy. After a hang-up the port is missing until SimulatedBoard::PlugIn(). When the baud rate
/// of the settings is not the board's, neither side understands the other: bytes are lost. (A
/// board that is infinitely fast takes any rate.)
///
/// Output() hands bytes to the sender at once, so DiscardOutput() never finds any.
class SimulatedSerialControl : public platform::SerialControl {
 public:
  /// Shares a board with other controls.
  SimulatedSerialControl(std::shared_ptr<SimulatedBoard> board, TimeSource time);
  /// Has a board of its own.
  SimulatedSerialControl(SimulatedBoardOptions options, TimeSource time);
  ~SimulatedSerialControl() override;
  SimulatedSerialControl(const SimulatedSerialControl&) = delete;
  SimulatedSerialControl& operator=(const SimulatedSerialControl&) = delete;

  /// Asked at every Open() for the chip to put into the socket; a name that FindChip() does not
  /// know empties the socket. May be empty: the socket is left alone.
  std::function<std::string()> ChipInSocket;

  /// Told of every byte that is handed to the open line. May be empty.
  std::function<void(std::span<const std::uint8_t>)> OnOutput;

  [[nodiscard]] SimulatedBoard& Board() { return *board_; }

  void SetCommPort(int number) override { comm_port_ = number; }
  [[nodiscard]] int CommPort() const override { return comm_port_; }
  void SetSettings(std::string_view settings) override { settings_ = settings; }
  void SetHandshaking(int /*mode*/) override {}
  void SetInputLen(int /*length*/) override {}
  void SetRTSEnable(bool /*enable*/) override {}
  void SetRThreshold(int /*count*/) override {}
  void SetInputMode(platform::InputMode mode) override { input_mode_ = mode; }
  [[nodiscard]] platform::InputMode CurrentInputMode() const override { return input_mode_; }
  platform::PortOpenResult Open() override;
  void Close() override;
  [[nodiscard]] bool PortOpen() const override { return open_; }
  int InBufferCount() override;
  void DiscardInput() override;
  void DiscardOutput() override {}
  void Output(std::span<const std::uint8_t> bytes) override;
  std::vector<std::uint8_t> Input() override;
  bool IsGone() override;
  void RestUntilInput(double seconds) override;

 private:
  void Collect();
  /// When a byte reaches the PC or the line goes; nothing: not before another Output().
  [[nodiscard]] std::optional<std::chrono::nanoseconds> NextEvent(
      std::chrono::nanoseconds now) const;
  [[nodiscard]] platform::PortOpenResult Refusal(platform::PortOpenStatus status,
                                                 std::string_view reason) const;

  std::shared_ptr<SimulatedBoard> board_;
  TimeSource time_;
  int comm_port_ = 1;
  std::string settings_ = "57600,n,8,1";
  platform::InputMode input_mode_ = platform::InputMode::Text;
  bool open_ = false;
  bool understood_ = true;
  bool gone_ = false;
  std::vector<std::uint8_t> received_;
};

}  // namespace fenwright::board
