#pragma once

#include "platform/serial_control.h"

namespace fenwright::platform {

/// A serial line that hands everything on to another one. What derives from it changes the parts
/// that are its own.
class ForwardingSerialControl : public SerialControl {
 public:
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

 protected:
  /// The line must outlive it.
  explicit ForwardingSerialControl(SerialControl& line) : line_(&line) {}

  [[nodiscard]] SerialControl& Line() const { return *line_; }
  /// From now on everything goes to another line, which must outlive it.
  void LeadTo(SerialControl& line) { line_ = &line; }

 private:
  SerialControl* line_;
};

}  // namespace fenwright::platform
