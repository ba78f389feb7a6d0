#include "bench_board.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <initializer_list>
#include <optional>
#include <poll.h>
#include <span>
#include <stdexcept>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include <QAction>
#include <QPushButton>
#include <QTimer>
#include <nlohmann/json.hpp>

#include "core/device_catalogue.h"
#include "core/settings_keys.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/system/code_page.h"
#include "platform/system/system_clock.h"
#include "platform/system/system_serial_control.h"
#include "platform/system/text_files.h"
#include "ui/update_dialog.h"
#include "ui/window_run.h"

namespace fenwright::bench {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A raw terminal in plain system calls.
class BareLine {
 public:
  explicit BareLine(const std::string& path) : file_(open(path.c_str(), O_RDWR | O_NOCTTY)) {
    termios settings{};
    if (file_ < 0 || tcgetattr(file_, &settings) != 0) throw std::runtime_error("no terminal");
    cfmakeraw(&settings);
    cfsetspeed(&settings, B57600);
    tcsetattr(file_, TCSANOW, &settings);
    tcflush(file_, TCIOFLUSH);
  }
  ~BareLine() { close(file_); }
  BareLine(const BareLine&) = delete;
  BareLine& operator=(const BareLine&) = delete;

  /// Sends bytes and takes a reply of `count` bytes.
  void Exchange(std::initializer_list<int> bytes, int count) {
    std::array<std::uint8_t, 8> out{};
    std::transform(bytes.begin(), bytes.end(), out.begin(),
                   [](int byte) { return static_cast<std::uint8_t>(byte); });
    Exchange({out.data(), bytes.size()}, count);
  }

  void Exchange(std::span<const std::uint8_t> bytes, int count) {
    if (write(file_, bytes.data(), bytes.size()) < 0) throw std::runtime_error("write");
    for (int got = 0; got < count;) {
      pollfd wait{file_, POLLIN, 0};
      poll(&wait, 1, 5000);
      std::array<std::uint8_t, 64> in{};
      const ssize_t now = read(file_, in.data(), in.size());
      if (now <= 0) throw std::runtime_error("read");
      got += static_cast<int>(now);
    }
  }

 private:
  int file_;
};

/// Boxes that nobody has to press, and a file that is always chosen.
class SilentBoxes final : public screen::MessageBoxes {
 public:
  void Show(screen::MessageIcon /*icon*/, std::string_view /*title*/,
            std::string_view /*text*/) override {}
  bool Ask(std::string_view /*title*/, std::string_view /*text*/) override { return false; }
};

class OneFile final : public screen::FileDialogs {
 public:
  std::string Path;
  std::optional<std::string> Open(const screen::FileDialogRequest& /*request*/) override {
    return Path;
  }
  std::optional<std::string> Save(const screen::FileDialogRequest& /*request*/) override {
    return std::nullopt;
  }
};

/// A run of the window on a board's line.
struct WindowBench {
  explicit WindowBench(const Board& board)
      : Port([&board](int /*number*/) { return board.Link(); }),
        UpdaterPort([&board](int /*number*/) { return board.Link(); }),
        Run({.ProgrammerPort = Port,
             .Clock = SystemTime,
             .Files = Files,
             .CodePage = CodePage,
             .Settings = Settings,
             .MessageBoxes = &Boxes,
             .FileDialogs = &Chooser,
             .UpdaterPort = &UpdaterPort}) {
    Settings.Write(core::kSettingsSection, core::kPortNumberKey, "1");
    Settings.Write(core::kUpdateSection, core::kUpdatePortReadKey, "1");
    const auto devices = core::DeviceCatalogue();
    const auto row = std::ranges::find(devices, kDevice, &core::DeviceEntry::DisplayName);
    Settings.Write(core::kSettingsSection, core::kDeviceKey, std::to_string(row - devices.begin()));
  }
  void Start(const std::string& hex_file) {
    Run.Start({.AppFolder = Folder.Path().string() + "/", .CommandArgument = hex_file});
  }

  testing::TemporaryFolder Folder;
  platform::SystemSerialControl Port;
  platform::SystemSerialControl UpdaterPort;
  platform::SystemClock SystemTime;
  platform::SystemTextFiles Files;
  platform::Cp932CodePage CodePage;
  platform::MemorySettingsStore Settings;
  SilentBoxes Boxes;
  OneFile Chooser;
  ui::WindowRun Run;
};

/// How long the window leaves a 5 ms timer waiting.
class Heartbeat {
 public:
  Heartbeat() {
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
      longest_gap_ = std::max(longest_gap_, SecondsSince(last_beat_));
      last_beat_ = Clock::now();
    });
    timer_.start(5);
  }
  [[nodiscard]] double LongestGap() const { return longest_gap_; }

 private:
  QTimer timer_;
  Clock::time_point last_beat_ = Clock::now();
  double longest_gap_ = 0;
};

}  // namespace

double WireSeconds(double baud) {
  constexpr double kBitsPerByte = 10;
  constexpr double kBytes = kFlashWords * (6.0 + 3.0);
  return kBytes * kBitsPerByte / baud;
}

Board::Board(std::vector<std::string> options)
    : process_([&] {
        std::vector<std::string> command{FENWRIGHT_BOARD_PROGRAM, "--device", kDevice, "--link",
                                         Link()};
        command.insert(command.end(), options.begin(), options.end());
        return command;
      }()) {
  if (!testing::WaitForFile(Link())) throw std::runtime_error(process_.Errors());
}

Times RunBareLoop(const Board& board, const std::vector<unsigned char>& flash) {
  BareLine line(board.Link());
  const auto enter = [&line] {
    line.Exchange({'A'}, 1);
    line.Exchange({'T', 0x38}, 1);
    line.Exchange({'P'}, 1);
  };
  enter();
  line.Exchange({'e'}, 1);
  line.Exchange({'a', 0, 0}, 1);
  Times times;
  const double processor = ProcessorSeconds();
  auto start = Clock::now();
  for (std::size_t i = 0; i < flash.size(); i += 2) {
    line.Exchange({'c', flash[i]}, 1);
    line.Exchange({'C', flash[i + 1]}, 1);
  }
  times.Write = SecondsSince(start);
  line.Exchange({'a', 0, 0}, 1);
  start = Clock::now();
  for (std::size_t i = 0; i < flash.size(); i += 2) line.Exchange({'R'}, 2);
  times.Verify = SecondsSince(start);
  times.Processor = ProcessorSeconds() - processor;
  times.Whole = times.Sum();
  line.Exchange({'L'}, 1);
  return times;
}

Times RunCli(const Board& board, const std::string& hex_file) {
  const testing::TemporaryFolder folder;
  testing::Process process({FENWRIGHT_CLI_PROGRAM, "--json", "--port", board.Link(), "--device",
                            kDevice, "--folder", folder.Path().string(), "program", hex_file});
  if (process.Wait(120) != 0) throw std::runtime_error(process.Output() + process.Errors());
  const auto result = nlohmann::json::parse(process.Output());
  return {.Write = result["flash_write_seconds"],
          .Verify = result["flash_verify_seconds"],
          .Processor = process.ProcessorSeconds(),
          .Whole = result["seconds"]};
}

Times RunWindow(const Board& board, const std::string& hex_file, double& longest_gap) {
  WindowBench bench(board);
  bench.Start(hex_file);
  Heartbeat heartbeat;
  const double processor = ProcessorSeconds();
  const auto start = Clock::now();
  bench.Run.Window().findChild<QPushButton*>("Cmd_btn_program")->click();
  longest_gap = heartbeat.LongestGap();
  const core::AppState& state = bench.Run.State();
  if (!state.Command.VerifyFinished || state.FlashNG) throw std::runtime_error(state.StatusText);
  return {.Write = state.Command.FlashWriteSeconds,
          .Verify = state.Command.FlashVerifySeconds,
          .Processor = ProcessorSeconds() - processor,
          .Whole = SecondsSince(start)};
}

Times RunBareUpdate(const Board& board, const std::vector<UpdateFrame>& frames) {
  BareLine line(board.Link());
  constexpr timespec kBoardsSecond{.tv_sec = 1, .tv_nsec = 0};
  line.Exchange({'U'}, 0);
  nanosleep(&kBoardsSecond, nullptr);
  Times times;
  const double processor = ProcessorSeconds();
  const auto start = Clock::now();
  for (const UpdateFrame& frame : frames) line.Exchange(frame, 1);
  times.Write = SecondsSince(start);
  times.Processor = ProcessorSeconds() - processor;
  times.Whole = times.Write;
  line.Exchange({0xFF, 0xFF, 0xFF, 0xFF}, 0);
  return times;
}

Times RunCliUpdate(const Board& board, const std::string& hex_file) {
  testing::Process process({FENWRIGHT_CLI_PROGRAM, "--json", "--port", board.Link(),
                            "update-firmware", hex_file, "--yes"});
  if (process.Wait(120) != 0) throw std::runtime_error(process.Output() + process.Errors());
  const auto result = nlohmann::json::parse(process.Output());
  return {.Write = result["stream_seconds"],
          .Processor = process.ProcessorSeconds(),
          .Whole = result["seconds"]};
}

Times RunWindowUpdate(const Board& board, const std::string& hex_file, double& longest_gap) {
  WindowBench bench(board);
  bench.Start("");
  bench.Chooser.Path = hex_file;
  Times times;
  std::int16_t failed = 0;
  QTimer::singleShot(0, &bench.Run.Window(), [&] {
    auto& dialog = *bench.Run.Window().findChild<ui::UpdateDialog*>("Dialog_Update");
    dialog.findChild<QPushButton*>("CmdOpen")->click();
    const Heartbeat heartbeat;
    const double processor = ProcessorSeconds();
    const auto start = Clock::now();
    dialog.findChild<QPushButton*>("CmdUpdate")->click();
    times = {.Write = dialog.State().StreamSeconds,
             .Processor = ProcessorSeconds() - processor,
             .Whole = SecondsSince(start)};
    longest_gap = heartbeat.LongestGap();
    failed = dialog.State().UpdateFailed;
    dialog.RequestClose();
  });
  bench.Run.Window().findChild<QAction*>("mnuFirmwareUpdate")->trigger();
  if (failed != 0) throw std::runtime_error("the update failed");
  return times;
}

}  // namespace fenwright::bench
