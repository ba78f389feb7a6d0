#include "platform/system/system_serial_control.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <grp.h>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/child_process.h"
#include "platform/posix/port_failure.h"
#include "platform/serial_control_contract.h"
#include "platform/system/line_settings.h"
#include "platform/temporary_folder.h"
#include "platform/terminal_line.h"

namespace fenwright::platform {
namespace {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::steady_clock;
using ::testing::HasSubstr;

double SteadySeconds() {
  return std::chrono::duration<double>(steady_clock::now().time_since_epoch()).count();
}

// --- The contract, on a pseudo terminal ---

class PseudoTerminalRig final : public SerialRig {
 public:
  PseudoTerminalRig() { Restore(); }

  SerialControl& Port() override { return port_; }
  Bytes Request() const override { return {'r', 0x00, 0xFF}; }
  Bytes Reply() const override { return {0x0D, 0x0A, 0x00, 0xFF, 0x11, 0x13, 0x7F, 0x04, 0x80}; }
  void HangUp() override {
    answerer_.reset();
    line_->HangUp();
  }
  void Restore() override {
    line_ = std::make_unique<TerminalLine>();
    answerer_ = std::make_unique<Answerer>(*line_, Request(), Reply());
  }
  double Seconds() override { return SteadySeconds(); }

 private:
  std::unique_ptr<TerminalLine> line_;
  std::unique_ptr<Answerer> answerer_;
  SystemSerialControl port_{[this](int) { return line_->Path(); }};
};

INSTANTIATE_TEST_SUITE_P(SystemOnAPseudoTerminal, SerialControlContract,
                         ::testing::Values(SerialImplementation{
                             "System",
                             [] { return std::unique_ptr<SerialRig>(new PseudoTerminalRig); }}),
                         ImplementationName);

// --- Draining ---

/// A stream of which the system tells, as of a line, how much is not out yet.
struct DrainTest : ::testing::Test {
  DrainTest() {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()), 0);
    EXPECT_EQ(write(ends_[0], "L", 1), 1);
  }
  ~DrainTest() override {
    for (const int end : ends_) close(end);
  }
  [[nodiscard]] double Drain(double patience) const {
    const double start = SteadySeconds();
    native::Drain(ends_[0], patience);
    return SteadySeconds() - start;
  }

  std::array<int, 2> ends_{};
};

TEST_F(DrainTest, ItWaitsUntilTheLastByteIsOut) {
  std::thread line([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    char byte = 0;
    EXPECT_EQ(read(ends_[1], &byte, 1), 1);
  });
  const double seconds = Drain(10);
  line.join();
  EXPECT_GE(seconds, 0.04);
  EXPECT_LT(seconds, 5);
}

TEST_F(DrainTest, ALineThatStandsStillHoldsNobodyUp) {
  const double seconds = Drain(0.1);
  EXPECT_GE(seconds, 0.1);
  EXPECT_LT(seconds, 2);
}

TEST_F(DrainTest, NothingIsWaitedForOnALineThatIsGone) {
  shutdown(ends_[0], SHUT_RDWR);
  EXPECT_LT(Drain(10), 5);
}

// --- Opening ---

PortOpenResult OpenPath(const std::string& path) {
  SystemSerialControl port([&](int) { return path; });
  return port.Open();
}

/// Status and reason of an attempt to open, as one text.
std::string Outcome(const PortOpenResult& result) {
  constexpr std::array kNames{"ok", "missing", "no permission", "busy", "failed"};
  return std::string(kNames.at(static_cast<std::size_t>(result.Status))) + ": " + result.Reason;
}

TEST(SystemSerialControlOpening, TheDeviceOfTheCurrentComNumberIsOpened) {
  const TerminalLine line;
  std::vector<int> asked;
  SystemSerialControl port([&](int number) {
    asked.push_back(number);
    return number == 7 ? line.Path() : std::string();
  });
  port.SetCommPort(7);
  const PortOpenResult result = port.Open();
  EXPECT_EQ(result.Status, PortOpenStatus::Ok);
  EXPECT_EQ(result.Path, line.Path());
  EXPECT_EQ(asked, std::vector<int>{7});
}

TEST(SystemSerialControlOpening, ANumberWithoutADeviceIsMissingAndNamed) {
  SystemSerialControl port([](int) { return std::string(); });
  port.SetCommPort(9);
  const PortOpenResult result = port.Open();
  EXPECT_EQ(result.Status, PortOpenStatus::Missing);
  EXPECT_EQ(result.Path, "");
  EXPECT_THAT(result.Reason, HasSubstr("COM9"));
  EXPECT_FALSE(port.PortOpen());
}

TEST(SystemSerialControlOpening, ADeviceThatIsNotThereIsMissingAndTheReasonNamesItsPath) {
  const TemporaryFolder folder;
  const PortOpenResult result = OpenPath(folder.File("ttyUSB0"));
  EXPECT_EQ(result.Status, PortOpenStatus::Missing);
  EXPECT_EQ(result.Path, folder.File("ttyUSB0"));
  EXPECT_THAT(result.Reason, HasSubstr(folder.File("ttyUSB0")));
  EXPECT_THAT(result.Reason, HasSubstr("がありません"));
}

TEST(SystemSerialControlOpening, ASecondOpeningIsBusyAndDoesNotDisturbTheFirst) {
  TerminalLine line;
  SystemSerialControl first([&](int) { return line.Path(); });
  SystemSerialControl second([&](int) { return line.Path(); });
  first.SetSettings("115200,n,8,1");
  ASSERT_EQ(first.Open().Status, PortOpenStatus::Ok);
  const PortOpenResult refused = second.Open();
  EXPECT_EQ(refused.Status, PortOpenStatus::Busy);
  EXPECT_THAT(refused.Reason, HasSubstr("終了してください"));
  EXPECT_FALSE(second.PortOpen());
  termios settings{};
  ASSERT_EQ(tcgetattr(line.Master(), &settings), 0);
  EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B115200));
  line.Send(Bytes{1, 2});
  EXPECT_EQ(first.Input(), (Bytes{1, 2}));
}

TEST(SystemSerialControlOpening, ASecondOpeningByAnUnprivilegedUserIsBusy) {
  const TerminalLine line;
  ASSERT_EQ(chmod(line.Path().c_str(), 0666), 0);
  SystemSerialControl first([&](int) { return line.Path(); });
  ASSERT_EQ(first.Open().Status, PortOpenStatus::Ok);
  const std::string outcome = RunInChild([&] {
    DropPrivileges();
    return Outcome(OpenPath(line.Path()));
  });
  EXPECT_THAT(outcome, HasSubstr("busy: "));
}

TEST(SystemSerialControlOpening, AnOpenLineIsClosedToProgramsThatKnowNothingOfItsLock) {
  const TerminalLine line;
  ASSERT_EQ(chmod(line.Path().c_str(), 0666), 0);
  SystemSerialControl port([&](int) { return line.Path(); });
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  const std::string outcome = RunInChild([&] {
    DropPrivileges();
    const int handle = open(line.Path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    return std::string(handle < 0 && errno == EBUSY ? "busy" : "open");
  });
  EXPECT_EQ(outcome, "busy");
}

TEST(SystemSerialControlOpening, AfterClosingAnybodyMayOpenTheLineAgainThoughTheFarEndKeepsItOpen) {
  const TerminalLine line;
  ASSERT_EQ(chmod(line.Path().c_str(), 0666), 0);
  const int kept = open(line.Path().c_str(), O_RDWR | O_NOCTTY);
  ASSERT_GE(kept, 0);
  SystemSerialControl first([&](int) { return line.Path(); });
  ASSERT_EQ(first.Open().Status, PortOpenStatus::Ok);
  first.Close();
  const std::string outcome = RunInChild([&] {
    DropPrivileges();
    return Outcome(OpenPath(line.Path()));
  });
  EXPECT_EQ(outcome, "ok: ");
  close(kept);
}

TEST(SystemSerialControlOpening, WithoutPermissionTheReasonNamesTheGroupAndTheCommand) {
  const TerminalLine line;
  if (geteuid() == 0) {
    const group* const dialout = getgrnam("dialout");
    ASSERT_NE(dialout, nullptr);
    ASSERT_EQ(chown(line.Path().c_str(), 0, dialout->gr_gid), 0);
  }
  // The owner gets nothing either, so that it also holds for an ordinary user who owns it.
  ASSERT_EQ(chmod(line.Path().c_str(), 0060), 0);
  struct stat info {};
  ASSERT_EQ(stat(line.Path().c_str(), &info), 0);
  const std::string group_name = getgrgid(info.st_gid)->gr_name;
  const std::string outcome = RunInChild([&] {
    DropPrivileges();
    return Outcome(OpenPath(line.Path()));
  });
  EXPECT_THAT(outcome, HasSubstr("no permission: "));
  EXPECT_THAT(outcome, HasSubstr(line.Path()));
  EXPECT_THAT(outcome, HasSubstr("sudo usermod -aG " + group_name + " $USER"));
  EXPECT_THAT(outcome, HasSubstr("ログイン"));
}

TEST(SystemSerialControlOpening, WithoutPermissionForTheGroupNoCommandIsAdvised) {
  const TerminalLine line;
  ASSERT_EQ(chmod(line.Path().c_str(), 0000), 0);
  const std::string outcome = RunInChild([&] {
    DropPrivileges();
    return Outcome(OpenPath(line.Path()));
  });
  EXPECT_THAT(outcome, HasSubstr("no permission: "));
  EXPECT_THAT(outcome, ::testing::Not(HasSubstr("usermod")));
  EXPECT_THAT(outcome, HasSubstr("管理者"));
}

TEST(SystemSerialControlOpening, AFileAFolderAPipeAndADeviceOfAnotherKindFail) {
  const TemporaryFolder folder;
  close(open(folder.File("file").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
  for (const std::string& path :
       {folder.File("file"), folder.Path(), folder.File("pipe"), std::string("/dev/null")}) {
    const PortOpenResult result = OpenPath(path);
    EXPECT_EQ(result.Status, PortOpenStatus::Failed) << path;
    EXPECT_THAT(result.Reason, HasSubstr("シリアルポートではありません")) << path;
  }
}

TEST(SystemSerialControlOpening, SettingsThatAreNoneFailAndLeaveTheLineFree) {
  const TerminalLine line;
  SystemSerialControl port([&](int) { return line.Path(); });
  port.SetSettings("fast,n,8,1");
  const PortOpenResult result = port.Open();
  EXPECT_EQ(result.Status, PortOpenStatus::Failed);
  EXPECT_THAT(result.Reason, HasSubstr("fast,n,8,1"));
  port.SetSettings("57600,n,8,1");
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
}

TEST(SystemSerialControlOpening, ABaudRateThatTheSystemDoesNotKnowFailsAndLeavesTheLineFree) {
  const TerminalLine line;
  SystemSerialControl port([&](int) { return line.Path(); });
  port.SetSettings("57601,n,8,1");
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Failed);
  EXPECT_FALSE(port.PortOpen());
  port.SetSettings("57600,n,8,1");
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
}

TEST(SystemSerialControlOpening, TheSettingsReachTheLine) {
  const TerminalLine line;
  SystemSerialControl port([&](int) { return line.Path(); });
  const auto opened_as = [&](const char* text) {
    port.Close();
    port.SetSettings(text);
    EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok) << text;
    termios settings{};
    EXPECT_EQ(tcgetattr(line.Master(), &settings), 0);
    return settings;
  };
  const termios usual = opened_as("57600,n,8,1");
  EXPECT_EQ(cfgetospeed(&usual), static_cast<speed_t>(B57600));
  EXPECT_EQ(cfgetispeed(&usual), static_cast<speed_t>(B57600));
  EXPECT_EQ(usual.c_cflag & static_cast<tcflag_t>(CSIZE), static_cast<tcflag_t>(CS8));
  EXPECT_EQ(usual.c_cflag & static_cast<tcflag_t>(CSTOPB | PARENB | CRTSCTS), 0U);
  EXPECT_EQ(usual.c_iflag & static_cast<tcflag_t>(IXON | IXOFF | ICRNL | INLCR | ISTRIP), 0U);
  EXPECT_EQ(usual.c_lflag & static_cast<tcflag_t>(ICANON | ECHO | ISIG), 0U);
  EXPECT_EQ(usual.c_oflag & static_cast<tcflag_t>(OPOST), 0U);
  const termios other = opened_as("9600,n,8,2");
  EXPECT_EQ(cfgetospeed(&other), static_cast<speed_t>(B9600));
  EXPECT_EQ(other.c_cflag & static_cast<tcflag_t>(CSTOPB), static_cast<tcflag_t>(CSTOPB));
  // A pseudo terminal has 8 bits and no parity whatever it is asked for, but keeps the kind.
  const termios odd = opened_as("9600,o,8,1");
  EXPECT_EQ(odd.c_cflag & static_cast<tcflag_t>(PARODD | CSTOPB), static_cast<tcflag_t>(PARODD));
  const termios even = opened_as("9600,e,8,1");
  EXPECT_EQ(even.c_cflag & static_cast<tcflag_t>(PARODD), 0U);
}

TEST(SystemSerialControlOpening, EveryUsualSpeedReachesTheLine) {
  const TerminalLine line;
  SystemSerialControl port([&](int) { return line.Path(); });
  const std::vector<std::pair<const char*, speed_t>> speeds{
      {"1200,n,8,1", B1200},     {"2400,n,8,1", B2400},     {"4800,n,8,1", B4800},
      {"9600,n,8,1", B9600},     {"19200,n,8,1", B19200},   {"38400,n,8,1", B38400},
      {"57600,n,8,1", B57600},   {"115200,n,8,1", B115200}, {"230400,n,8,1", B230400},
      {"460800,n,8,1", B460800}, {"921600,n,8,1", B921600}, {"1000000,n,8,1", B1000000}};
  for (const auto& [text, speed] : speeds) {
    port.Close();
    port.SetSettings(text);
    EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok) << text;
    termios settings{};
    EXPECT_EQ(tcgetattr(line.Master(), &settings), 0);
    EXPECT_EQ(cfgetospeed(&settings), speed) << text;
    EXPECT_EQ(cfgetispeed(&settings), speed) << text;
  }
}

TEST(SystemSerialControlOpening, OneAndAHalfStopBitsAreNotOfferedAndLeaveTheLineFree) {
  const TerminalLine line;
  SystemSerialControl port([&](int) { return line.Path(); });
  port.SetSettings("57600,n,8,1.5");
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Failed);
  port.SetSettings("57600,n,8,1");
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
}

TEST(SystemSerialControlOpening, LowLatencyAndRtsAreNotRequiredOfALine) {
  const TerminalLine line;
  SystemSerialControl port([&](int) { return line.Path(); });
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
  port.SetRTSEnable(false);
  port.SetRTSEnable(true);
  EXPECT_FALSE(port.IsGone());
}

TEST(PortFailure, EverySystemErrorHasItsStatus) {
  const auto status = [](int error) { return DescribePortFailure("/x", error).Status; };
  EXPECT_EQ(status(ENOENT), PortOpenStatus::Missing);
  EXPECT_EQ(status(ENXIO), PortOpenStatus::Missing);
  EXPECT_EQ(status(ENODEV), PortOpenStatus::Missing);
  EXPECT_EQ(status(EACCES), PortOpenStatus::NoPermission);
  EXPECT_EQ(status(EPERM), PortOpenStatus::NoPermission);
  EXPECT_EQ(status(EBUSY), PortOpenStatus::Busy);
  EXPECT_EQ(status(EWOULDBLOCK), PortOpenStatus::Busy);
  EXPECT_EQ(status(ENOTTY), PortOpenStatus::Failed);
  EXPECT_EQ(status(EIO), PortOpenStatus::Failed);
}

// --- Transfer ---

class SystemSerialControlLine : public ::testing::Test {
 protected:
  SystemSerialControlLine() { EXPECT_EQ(port_.Open().Status, PortOpenStatus::Ok); }

  TerminalLine line_;
  SystemSerialControl port_{[this](int) { return line_.Path(); }};
};

TEST_F(SystemSerialControlLine, EveryByteValuePassesUnchangedBothWays) {
  Bytes all;
  for (int value = 0; value < 256; ++value) all.push_back(static_cast<std::uint8_t>(value));
  port_.Output(all);
  EXPECT_EQ(line_.Receive(all.size()), all);
  line_.Send(all);
  EXPECT_EQ(port_.Input(), all);
}

TEST_F(SystemSerialControlLine, MoreThanOneReadOfInputIsTakenInOnePiece) {
  Bytes sent;
  Bytes received;
  for (std::size_t round = 0; round < 8; ++round) {
    const Bytes block(1000, static_cast<std::uint8_t>(round));
    line_.Send(block);
    sent.insert(sent.end(), block.begin(), block.end());
    EXPECT_EQ(port_.InBufferCount(), static_cast<int>(sent.size()));
  }
  EXPECT_EQ(port_.Input(), sent);
}

TEST_F(SystemSerialControlLine, MoreThanTheSystemGivesAtOnceIsCountedAndDiscardedWhole) {
  const Bytes sent(6000, 0x55);
  line_.Send(sent);
  EXPECT_EQ(port_.InBufferCount(), 6000);
  EXPECT_EQ(port_.Input(), sent);
  line_.Send(sent);
  port_.DiscardInput();
  EXPECT_EQ(port_.InBufferCount(), 0);
}

TEST_F(SystemSerialControlLine, WhatWaitsToBeTakenIsLimitedAndAFullBufferStillRests) {
  const int limit = 1 << 20;
  const Bytes block(2048, 0x55);
  for (int sent = 0; sent < limit; sent += 2048) {
    line_.Send(block);
    ASSERT_EQ(port_.InBufferCount(), sent + 2048);
  }
  line_.Send(block);
  EXPECT_EQ(port_.InBufferCount(), limit);
  const double start = SteadySeconds();
  port_.RestUntilInput(0.05);
  EXPECT_GE(SteadySeconds() - start, 0.05 * 0.99);
  EXPECT_EQ(port_.Input().size(), static_cast<std::size_t>(limit));
  EXPECT_EQ(port_.Input(), block);
}

TEST_F(SystemSerialControlLine, DiscardingInputDropsWhatTheSystemStillHolds) {
  for (int round = 0; round < 200; ++round) {
    line_.Send(Bytes(100, 0x55));
    port_.DiscardInput();
    ASSERT_EQ(port_.InBufferCount(), 0) << "round " << round;
  }
}

TEST_F(SystemSerialControlLine, BytesThatArrivedAfterTheLastCountEndARestAtOnce) {
  line_.Send(Bytes{1});
  EXPECT_EQ(port_.InBufferCount(), 1);
  line_.Send(Bytes{2});
  const double start = SteadySeconds();
  port_.RestUntilInput(2.0);
  EXPECT_LT(SteadySeconds() - start, 1.0);
  EXPECT_EQ(port_.Input(), (Bytes{1, 2}));
}

TEST_F(SystemSerialControlLine, ARestIsFinerThanAMillisecond) {
  const double start = SteadySeconds();
  for (int i = 0; i < 200; ++i) port_.RestUntilInput(0.0002);
  const double time = SteadySeconds() - start;
  EXPECT_GE(time, 200 * 0.0002);
  EXPECT_LT(time, 200 * 0.0009);
}

TEST_F(SystemSerialControlLine, OutputToAStuckLineIsGivenUpAfterASecond) {
  const double start = SteadySeconds();
  port_.Output(Bytes(1'000'000, 0xAA));
  const double time = SteadySeconds() - start;
  EXPECT_GE(time, 0.9);
  EXPECT_LT(time, 2.0);
  EXPECT_FALSE(port_.IsGone());
}

TEST_F(SystemSerialControlLine, OutputThatMeetsAFullLineGoesOnWhenTheLineTakesBytesAgain) {
  const std::size_t size = 200'000;
  Bytes received;
  std::thread far_end([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    received = line_.Receive(size);
  });
  port_.Output(Bytes(size, 0xAA));
  far_end.join();
  EXPECT_EQ(received.size(), size);
}

// --- Hang-up ---

double ProcessorSeconds() {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

void ExpectSleeping(SerialControl& port) {
  const double start = SteadySeconds();
  const double used = ProcessorSeconds();
  for (int i = 0; i < 10; ++i) port.RestUntilInput(0.02);
  EXPECT_GE(SteadySeconds() - start, 0.2 * 0.99);
  EXPECT_LT(ProcessorSeconds() - used, 0.1);
}

TEST_F(SystemSerialControlLine, ARestOnAClosedPortSleepsItsTime) {
  port_.Close();
  ExpectSleeping(port_);
}

TEST_F(SystemSerialControlLine, RestsOnAHungUpLineSleepTheirTime) {
  line_.HangUp();
  EXPECT_TRUE(port_.IsGone());
  ExpectSleeping(port_);
}

TEST_F(SystemSerialControlLine, CountingAloneNoticesAHangUp) {
  line_.HangUp();
  EXPECT_EQ(port_.InBufferCount(), 0);
  EXPECT_TRUE(port_.IsGone());
}

TEST_F(SystemSerialControlLine, AHungUpLineStaysOpenUntilItIsClosed) {
  line_.HangUp();
  EXPECT_TRUE(port_.IsGone());
  EXPECT_TRUE(port_.PortOpen());
  EXPECT_EQ(port_.Open().Status, PortOpenStatus::Ok);
  EXPECT_TRUE(port_.IsGone());
  port_.Close();
  EXPECT_FALSE(port_.PortOpen());
}

TEST_F(SystemSerialControlLine, AHangUpInTheMiddleOfARestEndsIt) {
  std::thread far_end([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    line_.HangUp();
  });
  const double start = SteadySeconds();
  port_.RestUntilInput(3.0);
  EXPECT_LT(SteadySeconds() - start, 2.0);
  EXPECT_TRUE(port_.IsGone());
  far_end.join();
}

TEST_F(SystemSerialControlLine, AHangUpWhileOutputWaitsEndsIt) {
  std::thread far_end([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    line_.HangUp();
  });
  const double start = SteadySeconds();
  port_.Output(Bytes(1'000'000, 0xAA));
  EXPECT_LT(SteadySeconds() - start, 0.9);
  EXPECT_TRUE(port_.IsGone());
  far_end.join();
}

TEST_F(SystemSerialControlLine, AHangUpReleasesTheDeviceAtOnce) {
  const auto open_handles = [] {
    int count = 0;
    for (int handle = 0; handle < 256; ++handle) count += fcntl(handle, F_GETFD) >= 0 ? 1 : 0;
    return count;
  };
  const int before = open_handles();
  line_.HangUp();
  EXPECT_TRUE(port_.IsGone());
  EXPECT_EQ(open_handles(), before - 2);  // the master and the device
}

TEST_F(SystemSerialControlLine, OutputToAHungUpLineDoesNotWait) {
  line_.HangUp();
  const double start = SteadySeconds();
  port_.Output(Bytes(1'000'000, 0xAA));
  EXPECT_LT(SteadySeconds() - start, 0.5);
  EXPECT_TRUE(port_.IsGone());
}

// --- Line settings ---

TEST(LineSettingsText, TheUsualSettingsAreUnderstood) {
  EXPECT_EQ(ParseLineSettings("57600,n,8,1"), LineSettings{});
}

TEST(LineSettingsText, EveryFieldIsUnderstood) {
  EXPECT_EQ(ParseLineSettings("115200, E, 7, 2"), (LineSettings{.Baud = 115200,
                                                                .Parity = LineParity::Even,
                                                                .DataBits = 7,
                                                                .StopBits = LineStopBits::Two}));
  EXPECT_EQ(ParseLineSettings("300,o,5,1.5"), (LineSettings{.Baud = 300,
                                                            .Parity = LineParity::Odd,
                                                            .DataBits = 5,
                                                            .StopBits = LineStopBits::OneAndHalf}));
}

TEST(LineSettingsText, AnythingElseIsRefused) {
  for (const char* text :
       {"", "57600", "57600,n,8", "57600,n,8,1,", "57600,n,8,1,0", ",n,8,1", "0,n,8,1", "-1,n,8,1",
        "57600x,n,8,1", "99999999999,n,8,1", "57600,x,8,1", "57600,,8,1", "57600,n,4,1",
        "57600,n,9,1", "57600,n,8,0", "57600,n,8,3", "57600;n;8;1"}) {
    EXPECT_EQ(ParseLineSettings(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace fenwright::platform
