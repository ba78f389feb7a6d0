#pragma once

#include "platform/serial_control.h"
#include "support/fakes.h"

namespace fenwright::testing {

using Bytes = std::vector<std::uint8_t>;

/// Bytes from hexadecimal text, for example "41 0D"; a quoted run stands for its characters:
/// Hex("'KV-LOD' 0D").
Bytes Hex(std::string_view text);

/// The same text form, for messages and transcripts: hexadecimal pairs.
std::string ToHex(std::span<const std::uint8_t> bytes);

/// A port that expects certain bytes and answers them, on a virtual clock.
///
/// Steps are played in order: when the bytes sent since the last step equal the step's, its reply
/// becomes due. Bytes that differ fail the test, as do steps that are left over at the end.
class ScriptedPort final : public platform::SerialControl, public Noted {
 public:
  struct Part {
    double Delay = 0;  ///< seconds after the part before it
    Bytes Data;
  };

  explicit ScriptedPort(VirtualClock& clock) : clock_(clock) {}
  ~ScriptedPort() override;
  ScriptedPort(const ScriptedPort&) = delete;
  ScriptedPort& operator=(const ScriptedPort&) = delete;

  /// Expects `sent`, answers `reply` after `delay` seconds; an empty reply is no answer.
  ScriptedPort& Expect(std::string_view sent, std::string_view reply = "", double delay = 0.001);
  ScriptedPort& ExpectParts(std::string_view sent, std::vector<Part> parts);
  /// The line goes as soon as the script has come here.
  ScriptedPort& ThenHangUp();

  /// Every byte sent, and every property set, in order: "CommPort=3", "Output 41", "Open", ...
  std::vector<std::string> Log;
  Bytes Sent;
  platform::PortOpenResult OpenResult;

  void SetCommPort(int number) override;
  [[nodiscard]] int CommPort() const override { return number_; }
  void SetSettings(std::string_view settings) override;
  void SetHandshaking(int mode) override;
  void SetInputLen(int length) override;
  void SetRTSEnable(bool enable) override;
  void SetRThreshold(int count) override;
  void SetInputMode(InputMode mode) override;
  [[nodiscard]] InputMode CurrentInputMode() const override { return mode_; }
  platform::PortOpenResult Open() override;
  void Close() override;
  [[nodiscard]] bool PortOpen() const override { return open_; }
  int InBufferCount() override;
  void DiscardInput() override;
  void DiscardOutput() override;
  void Output(std::span<const std::uint8_t> bytes) override;
  Bytes Input() override;
  bool IsGone() override { return gone_ || !open_; }
  void RestUntilInput(double seconds) override;

  /// Opens the port without a trace in the log.
  void StartOpen() { open_ = true; }

 private:
  struct Step {
    Bytes Sent;
    std::vector<Part> Parts;
    bool HangUp = false;
  };
  struct Due {
    double At;
    std::uint8_t Value;
  };

  void Keep(std::string entry);
  void PlayHangUps();
  void Receive();

  VirtualClock& clock_;
  std::deque<Step> steps_;
  Bytes pending_;
  std::deque<Due> due_;
  Bytes received_;
  int number_ = 1;
  InputMode mode_ = InputMode::Binary;
  bool open_ = false;
  bool gone_ = false;
};

}  // namespace fenwright::testing
