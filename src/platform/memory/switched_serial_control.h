#pragma once

#include "platform/serial_control.h"

namespace fenwright::platform {

/// A serial line that can be led to another one while the program runs. Switching closes the line
/// that it leaves; the number of the port goes along.
class SwitchedSerialControl final : public SerialControl {
 public:
  /// The lines must outlive it.
  explicit SwitchedSerialControl(SerialControl& line) : line_(&line) {}

  void SwitchTo(SerialControl& line) {
    if (line_ == &line) return;
    line_->Close();
    line.SetCommPort(line_->CommPort());
    line_ = &line;
  }

  void SetCommPort(int number) override { line_->SetCommPort(number); }
  [[nodiscard]] int CommPort() const override { return line_->CommPort(); }
  void SetSettings(std::string_view settings) override { line_->SetSettings(settings); }
  void SetHandshaking(int mode) override { line_->SetHandshaking(mode); }
  void SetInputLen(int length) override { line_->SetInputLen(length); }
  void SetRTSEnable(bool enable) override { line_->SetRTSEnable(enable); }
  void SetRThreshold(int count) override { line_->SetRThreshold(count); }
  void SetInputMode(InputMode mode) override { line_->SetInputMode(mode); }
  [[nodiscard]] InputMode CurrentInputMode() const override { return line_->CurrentInputMode(); }
  PortOpenResult Open() override { return line_->Open(); }
  void Close() override { line_->Close(); }
  [[nodiscard]] bool PortOpen() const override { return line_->PortOpen(); }
  int InBufferCount() override { return line_->InBufferCount(); }
  void DiscardInput() override { line_->DiscardInput(); }
  void DiscardOutput() override { line_->DiscardOutput(); }
  void Output(std::span<const std::uint8_t> bytes) override { line_->Output(bytes); }
  std::vector<std::uint8_t> Input() override { return line_->Input(); }
  bool IsGone() override { return line_->IsGone(); }
  void RestUntilInput(double seconds) override { line_->RestUntilInput(seconds); }

 private:
  SerialControl* line_;
};

}  // namespace fenwright::platform
