// The serial line on a COM port whose far end is on the host. The environment variable
// FENWRIGHT_FAR_END names the folder that serves to command it, FENWRIGHT_FAR_END_PORT the port.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/serial_control_contract.h"
#include "platform/system/system_serial_control.h"
#include "platform/windows/far_end.h"

namespace fenwright::platform {
namespace {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) {
    ADD_FAILURE() << name << " is not set";
    return "";
  }
  return value;
}

std::string PortPath() { return R"(\\.\)" + Variable("FENWRIGHT_FAR_END_PORT"); }

/// Commands the far end and waits until it has done so.
void Command(const std::string& command) {
  using namespace std::chrono_literals;
  static int number = 0;  // the far end outlives every test
  const std::filesystem::path folder = Variable("FENWRIGHT_FAR_END");
  const std::string text = std::to_string(++number);
  {
    std::ofstream file(folder / "command.new");
    file << text << ' ' << command << '\n';
  }
  std::filesystem::rename(folder / "command.new", folder / "command");
  std::string done;
  for (int i = 0; i < 1000 && done != text; ++i) {
    std::this_thread::sleep_for(5ms);
    std::ifstream(folder / "done") >> done;
  }
  ASSERT_EQ(done, text) << command;
}

double SteadySeconds() {
  return std::chrono::duration<double>(steady_clock::now().time_since_epoch()).count();
}

class ComPortRig final : public SerialRig {
 public:
  ComPortRig() { Restore(); }

  SerialControl& Port() override { return port_; }
  [[nodiscard]] Bytes Request() const override { return far_end::Request(); }
  [[nodiscard]] Bytes Reply() const override { return far_end::Reply(); }
  void HangUp() override { Command(far_end::kHangUp); }
  void Restore() override { Command(far_end::kRestore); }
  double Seconds() override { return SteadySeconds(); }

 private:
  SystemSerialControl port_{[](int) { return PortPath(); }};
};

INSTANTIATE_TEST_SUITE_P(SystemOnAComPort, SerialControlContract,
                         ::testing::Values(SerialImplementation{
                             "System", [] { return std::unique_ptr<SerialRig>(new ComPortRig); }}),
                         ImplementationName);

TEST(ComPort, APortThatIsNotThereIsMissingAndNamedAsTheUserKnowsIt) {
  SystemSerialControl port([](int) { return std::string(R"(\\.\COM19)"); });
  const PortOpenResult result = port.Open();
  EXPECT_EQ(result.Status, PortOpenStatus::Missing);
  EXPECT_EQ(result.Path, R"(\\.\COM19)");
  EXPECT_THAT(result.Reason, StartsWith("COM19 がありません。"));
  EXPECT_FALSE(port.PortOpen());
}

TEST(ComPort, ADeviceThatIsNoSerialLineIsRefused) {
  SystemSerialControl port([](int) { return std::string(R"(\\.\NUL)"); });
  const PortOpenResult result = port.Open();
  EXPECT_EQ(result.Status, PortOpenStatus::Failed);
  EXPECT_THAT(result.Reason, StartsWith("NUL はシリアルポートではありません。"));
}

TEST(ComPort, ABareNameIsThatOfAPort) {
  ComPortRig rig;
  SystemSerialControl port([](int) { return Variable("FENWRIGHT_FAR_END_PORT"); });
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
}

TEST(ComPort, EveryUsualSpeedIsTaken) {
  ComPortRig rig;
  for (const char* settings : {"9600,n,8,1", "57600,n,8,1", "115200,n,8,1"}) {
    rig.Port().Close();
    rig.Port().SetSettings(settings);
    EXPECT_EQ(rig.Port().Open().Status, PortOpenStatus::Ok) << settings;
  }
}

TEST(ComPort, AShortRestOnASilentLineEndsInTime) {
  ComPortRig rig;
  ASSERT_EQ(rig.Port().Open().Status, PortOpenStatus::Ok);
  const double start = SteadySeconds();
  for (int i = 0; i < 20; ++i) rig.Port().RestUntilInput(0.005);
  const double time = SteadySeconds() - start;
  EXPECT_GE(time, 0.09);
  EXPECT_LT(time, 1.0);
  EXPECT_FALSE(rig.Port().IsGone());
}

TEST(ComPort, OutputToAStuckLineIsGivenUpAfterASecond) {
  ComPortRig rig;
  ASSERT_EQ(rig.Port().Open().Status, PortOpenStatus::Ok);
  Command(far_end::kFallSilent);
  const double start = SteadySeconds();
  rig.Port().Output(Bytes(1'000'000, 0xAA));
  const double time = SteadySeconds() - start;
  EXPECT_GE(time, 0.9);
  EXPECT_LT(time, 2.0);
  EXPECT_FALSE(rig.Port().IsGone());
}

TEST(ComPort, AHangUpInTheMiddleOfARestEndsIt) {
  ComPortRig rig;
  ASSERT_EQ(rig.Port().Open().Status, PortOpenStatus::Ok);
  std::thread far_end([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    rig.HangUp();
  });
  const double start = SteadySeconds();
  rig.Port().RestUntilInput(3.0);
  EXPECT_LT(SteadySeconds() - start, 2.0);
  EXPECT_TRUE(rig.Port().IsGone());
  far_end.join();
}

TEST(ComPort, ARestThatWasTakenBackLosesNoByteOfTheReplyAfterIt) {
  ComPortRig rig;
  SerialControl& port = rig.Port();
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  const auto size = static_cast<int>(far_end::Reply().size());
  for (int i = 0; i < 100; ++i) {
    port.Output(far_end::Request());
    // Rests of no time to speak of: many end just as a byte arrives.
    const double start = SteadySeconds();
    while (port.InBufferCount() < size && SteadySeconds() - start < 5) port.RestUntilInput(1e-6);
    ASSERT_EQ(port.Input(), far_end::Reply()) << "exchange " << i;
  }
}

TEST(ComPort, AnExchangeTakesFarLessThanAStepOfTheSystemsClock) {
  ComPortRig rig;
  SerialControl& port = rig.Port();
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  constexpr int kExchanges = 100;
  const int size = static_cast<int>(far_end::Reply().size());
  const double start = SteadySeconds();
  for (int i = 0; i < kExchanges; ++i) {
    port.DiscardInput();
    port.Output(far_end::Request());
    while (port.InBufferCount() < size && SteadySeconds() - start < 30) port.RestUntilInput(0.005);
    ASSERT_EQ(port.Input(), far_end::Reply());
  }
  EXPECT_LT((SteadySeconds() - start) / kExchanges, 0.010);
}

}  // namespace
}  // namespace fenwright::platform
