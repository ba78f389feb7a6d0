// The ports that the system shows: a kernel made of folders, and real pseudo terminals.

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/child_process.h"
#include "platform/posix/system_port_infos.h"
#include "platform/system/system_serial_control.h"
#include "platform/temporary_folder.h"
#include "platform/terminal_line.h"

namespace fenwright::platform {
namespace {

namespace fs = std::filesystem;

/// Device nodes as links to a character device that every user may open, and the files that a
/// kernel would show about them.
class FakeKernel {
 public:
  [[nodiscard]] PortInfo Describe(int number) const {
    PosixPortInfos infos(
        [this](int wanted) {
          const auto path = paths_.find(wanted);
          return path == paths_.end() ? std::string() : path->second;
        },
        {.Sys = folder_.File("sys"), .Proc = folder_.File("proc")});
    return infos.Describe(number);
  }

  void SetPath(int number, const std::string& path) { paths_[number] = path; }

  void Write(const std::string& name, const std::string& line) const {
    const fs::path path = folder_.File(name);
    fs::create_directories(path.parent_path());
    std::ofstream(path) << line << '\n';
  }

  /// A serial line of a USB adapter, under the name of a real device.
  void AddUsb(const std::string& tty, const std::string& maker, const std::string& product) const {
    const std::string device = "sys/devices/usb1/1-2";
    Write(device + "/idVendor", "0403");
    Write(device + "/idProduct", "6001");
    if (!maker.empty()) Write(device + "/manufacturer", maker);
    if (!product.empty()) Write(device + "/product", product);
    fs::create_directories(folder_.File(device + "/1-2:1.0/" + tty));
    fs::create_directories(folder_.File("sys/class/tty/" + tty));
    fs::create_directory_symlink(folder_.File(device + "/1-2:1.0/" + tty),
                                 folder_.File("sys/class/tty/" + tty + "/device"));
  }

  [[nodiscard]] std::string File(const std::string& name) const { return folder_.File(name); }

 private:
  TemporaryFolder folder_;
  std::map<int, std::string> paths_;
};

/// A character device that exists everywhere.
constexpr const char* kDevice = "/dev/null";
constexpr const char* kDeviceName = "null";

TEST(PortInfos, ANumberWithoutAPathIsMissing) {
  const FakeKernel kernel;
  EXPECT_EQ(kernel.Describe(9), (PortInfo{.Number = 9}));
}

TEST(PortInfos, ADeviceThatIsNotThereIsMissingAndNamed) {
  FakeKernel kernel;
  kernel.SetPath(5, kernel.File("ttyUSB0"));
  const PortInfo info = kernel.Describe(5);
  EXPECT_EQ(info.State, PortState::Missing);
  EXPECT_EQ(info.Path, kernel.File("ttyUSB0"));
  EXPECT_NE(info.Reason.find(kernel.File("ttyUSB0") + " がありません"), std::string::npos)
      << info.Reason;
}

TEST(PortInfos, AnAdapterIsDescribedInItsMakersWords) {
  FakeKernel kernel;
  kernel.SetPath(5, kDevice);
  kernel.AddUsb(kDeviceName, "FTDI", "FT232R USB UART");
  const PortInfo info = kernel.Describe(5);
  EXPECT_EQ(info.State, PortState::Usable);
  EXPECT_EQ(info.Description, "FTDI FT232R USB UART");
  EXPECT_EQ(info.Reason, "");
}

TEST(PortInfos, AMakerInTheProductsNameIsNotSaidTwice) {
  FakeKernel kernel;
  kernel.SetPath(5, kDevice);
  kernel.AddUsb(kDeviceName, "FTDI", "FTDI cable");
  EXPECT_EQ(kernel.Describe(5).Description, "FTDI cable");
}

TEST(PortInfos, AnAdapterWithoutWordsIsNamedByItsNumbers) {
  FakeKernel kernel;
  kernel.SetPath(5, kDevice);
  kernel.AddUsb(kDeviceName, "", "");
  EXPECT_EQ(kernel.Describe(5).Description, "USB 0403:6001");
}

TEST(PortInfos, ALinkToTheDeviceIsAsGoodAsItsName) {
  FakeKernel kernel;
  kernel.AddUsb(kDeviceName, "FTDI", "FT232R");
  fs::create_symlink(kDevice, kernel.File("programmer"));
  kernel.SetPath(5, kernel.File("programmer"));
  const PortInfo info = kernel.Describe(5);
  EXPECT_EQ(info.State, PortState::Usable);
  EXPECT_EQ(info.Path, kernel.File("programmer"));
  EXPECT_EQ(info.Description, "FTDI FT232R");
}

TEST(PortInfos, ALineWithoutAnAdapterIsOneOfTheMachinesOwn) {
  FakeKernel kernel;
  kernel.SetPath(1, kDevice);
  kernel.Write("sys/class/tty/null/type", "4");
  EXPECT_EQ(kernel.Describe(1).Description, "内蔵シリアルポート");
  EXPECT_EQ(kernel.Describe(1).State, PortState::Usable);
}

TEST(PortInfos, ANameWithoutALineBehindItIsMissing) {
  FakeKernel kernel;
  kernel.SetPath(1, kDevice);
  kernel.Write("sys/class/tty/null/type", "0");
  const PortInfo info = kernel.Describe(1);
  EXPECT_EQ(info.State, PortState::Missing);
  EXPECT_NE(info.Reason, "");
}

TEST(PortInfos, AFileThatIsNoDeviceIsMissing) {
  FakeKernel kernel;
  kernel.Write("file", "x");
  kernel.SetPath(1, kernel.File("file"));
  EXPECT_EQ(kernel.Describe(1).State, PortState::Missing);
  EXPECT_NE(kernel.Describe(1).Reason.find("シリアルポートではありません"), std::string::npos);
}

TEST(PortInfos, ADeviceThatTheUserMayNotUseSaysHowToGetTheRight) {
  if (geteuid() != 0) GTEST_SKIP() << "Only the superuser can give a device to another group";
  TerminalLine terminal;
  chmod(terminal.Path().c_str(), 0660);
  ASSERT_EQ(chown(terminal.Path().c_str(), 0, 20), 0);
  const std::string answer = RunInChild([&] {
    DropPrivileges();
    const PortInfo info = PosixPortInfos([&](int) { return terminal.Path(); }).Describe(5);
    return (info.State == PortState::NoPermission ? "refused " : "usable ") + info.Reason;
  });
  EXPECT_TRUE(answer.starts_with("refused ")) << answer;
  EXPECT_NE(answer.find("sudo usermod -aG dialout $USER"), std::string::npos) << answer;
}

TEST(PortInfos, ADeviceThatAnotherProcessHasOpenIsBusy) {
  FakeKernel kernel;
  kernel.SetPath(5, kDevice);
  kernel.AddUsb(kDeviceName, "FTDI", "FT232R");
  fs::create_directories(kernel.File("proc/77/fd"));
  fs::create_symlink("/dev/zero", kernel.File("proc/77/fd/0"));
  EXPECT_EQ(kernel.Describe(5).State, PortState::Usable);
  fs::create_symlink(kDevice, kernel.File("proc/77/fd/3"));
  const PortInfo info = kernel.Describe(5);
  EXPECT_EQ(info.State, PortState::Busy);
  EXPECT_EQ(info.Description, "FTDI FT232R");
  EXPECT_NE(info.Reason.find("使用中"), std::string::npos) << info.Reason;
}

TEST(PortInfos, WhatTheProgramItselfHasOpenIsUsable) {
  FakeKernel kernel;
  kernel.SetPath(5, kDevice);
  const std::string own = "proc/" + std::to_string(getpid()) + "/fd";
  fs::create_directories(kernel.File(own));
  fs::create_symlink(kDevice, kernel.File(own + "/3"));
  EXPECT_EQ(kernel.Describe(5).State, PortState::Usable);
}

TEST(PortInfos, ALockOnTheDeviceMakesItBusyWhoeverHoldsIt) {
  FakeKernel kernel;
  kernel.SetPath(5, kDevice);
  struct stat info {};
  ASSERT_EQ(stat(kDevice, &info), 0);
  char device[64];
  std::snprintf(device, sizeof device, "%02x:%02x:%lu", major(info.st_dev), minor(info.st_dev),
                static_cast<unsigned long>(info.st_ino));
  const std::string own = std::to_string(getpid());
  const std::string file(device);
  kernel.Write("proc/locks", "1: FLOCK  ADVISORY  WRITE " + own + " " + file + " 0 EOF");
  EXPECT_EQ(kernel.Describe(5).State, PortState::Usable);
  kernel.Write("proc/locks", "1: FLOCK  ADVISORY  WRITE 77 " + file + "1 0 EOF\n" +
                                 "2: POSIX  ADVISORY  WRITE 77 " + file + " 0 EOF");
  EXPECT_EQ(kernel.Describe(5).State, PortState::Usable);
  kernel.Write("proc/locks",
               "1: FLOCK  ADVISORY  WRITE 76 00:05:1 0 EOF\n2: FLOCK  ADVISORY  "
               "WRITE 77 " +
                   file + " 0 EOF");
  EXPECT_EQ(kernel.Describe(5).State, PortState::Busy);
}

TEST(PortInfos, APortThatAnotherProgramOpenedAsThisOneDoesIsBusyOnTheRealSystem) {
  TerminalLine terminal;
  PosixPortInfos infos([&](int) { return terminal.Path(); });
  EXPECT_EQ(infos.Describe(5).State, PortState::Usable);
  EXPECT_EQ(infos.Describe(5).Description, "疑似端末");
  SystemSerialControl port([&](int) { return terminal.Path(); });
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  EXPECT_EQ(infos.Describe(5).State, PortState::Usable) << "it is our own";
  const std::string seen_by_another = RunInChild([&] {
    return std::string(infos.Describe(5).State == PortState::Busy ? "busy" : "not busy");
  });
  EXPECT_EQ(seen_by_another, "busy");
  port.Close();
  EXPECT_EQ(RunInChild([&] {
              return std::string(infos.Describe(5).State == PortState::Usable ? "usable" : "no");
            }),
            "usable");
}

TEST(PortInfos, AnAdapterThatIsUnpluggedIsMissingFromThenOn) {
  const TemporaryFolder folder;
  const TerminalLine terminal;
  fs::create_symlink(terminal.Path(), folder.File("port"));
  PosixPortInfos infos([&](int) { return folder.File("port"); });
  EXPECT_EQ(infos.Describe(5).State, PortState::Usable);
  fs::remove(folder.File("port"));
  EXPECT_EQ(infos.Describe(5).State, PortState::Missing);
}

}  // namespace
}  // namespace fenwright::platform
