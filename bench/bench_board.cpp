#include "bench_board.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <stdexcept>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include <QPushButton>
#include <QTimer>
#include <nlohmann/json.hpp>

#include "core/device_catalogue.h"
#include "core/settings_keys.h"
#include "platform/asio/asio_serial_control.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/posix/code_page.h"
#include "platform/posix/system_clock.h"
#include "platform/posix/text_files.h"
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
    if (write(file_, out.data(), bytes.size()) < 0) throw std::runtime_error("write");
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
  const testing::TemporaryFolder folder;
  platform::AsioSerialControl port([&board](int /*number*/) { return board.Link(); });
  platform::SystemClock clock;
  platform::SystemTextFiles files;
  platform::Cp932CodePage code_page;
  platform::MemorySettingsStore settings;
  settings.Write(core::kSettingsSection, core::kPortNumberKey, "1");
  const auto devices = core::DeviceCatalogue();
  const auto row = std::ranges::find(devices, kDevice, &core::DeviceEntry::DisplayName);
  settings.Write(core::kSettingsSection, core::kDeviceKey, std::to_string(row - devices.begin()));
  ui::WindowRun run({.ProgrammerPort = port,
                     .Clock = clock,
                     .Files = files,
                     .CodePage = code_page,
                     .Settings = settings});
  run.Start({.AppFolder = folder.Path().string() + "/", .CommandArgument = hex_file});

  QTimer heartbeat;
  auto last_beat = Clock::now();
  longest_gap = 0;
  QObject::connect(&heartbeat, &QTimer::timeout, [&] {
    longest_gap = std::max(longest_gap, SecondsSince(last_beat));
    last_beat = Clock::now();
  });
  heartbeat.start(5);
  const double processor = ProcessorSeconds();
  const auto start = Clock::now();
  last_beat = start;
  run.Window().findChild<QPushButton*>("Cmd_btn_program")->click();
  const core::AppState& state = run.State();
  if (!state.Chip.VerifyFinished || state.FlashNG) throw std::runtime_error(state.StatusText);
  return {.Write = state.Chip.FlashWriteSeconds,
          .Verify = state.Chip.FlashVerifySeconds,
          .Processor = ProcessorSeconds() - processor,
          .Whole = SecondsSince(start)};
}

}  // namespace fenwright::bench
