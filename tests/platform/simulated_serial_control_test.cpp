#include "board/simulated_serial_control.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/serial_control_contract.h"

namespace fenwright::platform {
namespace {

using std::chrono::nanoseconds;

/// The simulated board on a clock that moves just with the rests.
class SimulatedRig final : public SerialRig {
 public:
  SerialControl& Port() override { return port_; }
  std::vector<std::uint8_t> Request() const override { return {'?'}; }
  std::vector<std::uint8_t> Reply() const override {
    constexpr std::string_view kVersionLine = "KV-LOD350  V6.38\r\n";
    return {kVersionLine.begin(), kVersionLine.end()};
  }
  void HangUp() override {
    const std::vector<std::uint8_t> escapes(kHangUpAt, 0x1B);
    port_.Board().Receive(escapes, now_);
    now_ += std::chrono::seconds(1);
  }
  void Restore() override { port_.Board().PlugIn(); }
  double Seconds() override { return std::chrono::duration<double>(now_).count(); }

 private:
  static constexpr std::uint32_t kHangUpAt = 500;

  static board::SimulatedBoardOptions Options() {
    board::SimulatedBoardOptions options;
    options.Faults.push_back(
        {.What = board::Fault::Kind::HangUp, .Number = kHangUpAt, .Delay = {}, .Bit = {}});
    return options;
  }

  nanoseconds now_{};
  board::SimulatedSerialControl port_{
      Options(), board::TimeSource{.Now = [this] { return now_; },
                                   .Rest = [this](nanoseconds time) { now_ += time; }}};
};

INSTANTIATE_TEST_SUITE_P(SimulatedBoard, SerialControlContract,
                         ::testing::Values(SerialImplementation{
                             "Simulated",
                             [] { return std::unique_ptr<SerialRig>(new SimulatedRig); }}),
                         ImplementationName);

}  // namespace
}  // namespace fenwright::platform
