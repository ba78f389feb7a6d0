// Programs and verifies a full flash through a pseudo terminal, in three ways on the same line in
// the same run: a bare loop of system calls, the command line, and the window. See README.md here.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <QApplication>
#include <fmt/format.h>

#include "bench_board.h"
#include "support/test_run.h"
#include "system/board_program.h"

namespace fenwright::bench {
namespace {

constexpr double kMicroseconds = 1e6;

/// The run with the smallest sum out of a few: the machine has other things to do as well.
template <typename Run>
Times Best(int runs, const Run& run) {
  Times best = run();
  for (int i = 1; i < runs; ++i) {
    const Times times = run();
    if (times.Sum() < best.Sum()) best = times;
  }
  return best;
}

void PrintRow(const char* name, const Times& times, const Times& bare) {
  fmt::print("{:10} {:8.3f} {:8.3f} {:8.3f} {:9.3f} {:11.2f} {:11.1f} {:9.3f}\n", name, times.Write,
             times.Verify, times.Sum(), times.Sum() / bare.Sum(),
             times.Sum() / kExchanges * kMicroseconds, 100 * times.Processor / times.Whole,
             times.Whole);
}

void Measure(const char* title, const Board& board, const testing::Bytes& flash,
             const std::string& hex_file, int runs) {
  fmt::print("\n{}\n{:10} {:>8} {:>8} {:>8} {:>9} {:>11} {:>11} {:>9}\n", title, "", "write s",
             "verify s", "both s", "to bare", "us/exchange", "processor %", "whole s");
  const Times bare = Best(runs, [&] { return RunBareLoop(board, flash); });
  PrintRow("bare loop", bare, bare);
  PrintRow("CLI", Best(runs, [&] { return RunCli(board, hex_file); }), bare);
  double gap = 0;
  double longest_gap = 0;
  const Times window = Best(runs, [&] {
    const Times times = RunWindow(board, hex_file, gap);
    longest_gap = std::max(longest_gap, gap);
    return times;
  });
  PrintRow("window", window, bare);
  fmt::print("window: longest time between two events of a 5 ms timer {:.1f} ms\n",
             1000 * longest_gap);
}

/// The whole image of the board's firmware: a full 16 KiB, of which the loader's words stay.
std::vector<UpdateFrame> Frames(const testing::Bytes& image) {
  std::vector<UpdateFrame> frames;
  for (std::size_t word = 0; 2 * word < image.size(); ++word) {
    if ((word >= 0x1F00 && word <= 0x1FDF) || word == 0x1FFF) continue;
    frames.push_back({static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word),
                      image[2 * word + 1], image[2 * word]});
  }
  return frames;
}

void PrintUpdateRow(const char* name, const Times& times, const Times& bare, std::size_t frames) {
  fmt::print("{:10} {:8.3f} {:9.3f} {:11.2f} {:11.1f}\n", name, times.Write,
             times.Write / bare.Write, times.Write / static_cast<double>(frames) * kMicroseconds,
             100 * times.Processor / times.Whole);
}

void MeasureUpdate(const char* title, const Board& board, int runs) {
  const testing::Bytes image = testing::RandomBytes(0x4000, 16);
  const std::vector<UpdateFrame> frames = Frames(image);
  const testing::TemporaryFolder folder;
  const std::string hex_file = folder.File("firmware.hex");
  testing::WriteFile(hex_file, testing::HexFile(image));
  fmt::print("\nfirmware update, {} frames, {}\n{:10} {:>8} {:>9} {:>11} {:>11}\n", frames.size(),
             title, "", "frames s", "to bare", "us/frame", "processor %");
  const Times bare = Best(runs, [&] { return RunBareUpdate(board, frames); });
  PrintUpdateRow("bare loop", bare, bare, frames.size());
  PrintUpdateRow("CLI", Best(runs, [&] { return RunCliUpdate(board, hex_file); }), bare,
                 frames.size());
  double gap = 0;
  double longest_gap = 0;
  const Times window = Best(runs, [&] {
    const Times times = RunWindowUpdate(board, hex_file, gap);
    longest_gap = std::max(longest_gap, gap);
    return times;
  });
  PrintUpdateRow("window", window, bare, frames.size());
  fmt::print("window: longest time between two events of a 5 ms timer {:.1f} ms\n",
             1000 * longest_gap);
}

/// Processor time while nothing answers: the link check of a silent board, and its waits.
void MeasureWaiting() {
  const Board board({"--baud", "0", "--fault", "drop@19", "--fault", "drop@20"});
  const testing::TemporaryFolder folder;
  testing::WriteFile(folder.File("small.hex"), testing::HexFile({1, 2, 3, 4}));
  testing::Process process({FENWRIGHT_CLI_PROGRAM, "--quiet", "--port", board.Link(), "--device",
                            kDevice, "--folder", folder.Path().string(), "program",
                            folder.File("small.hex")});
  const auto start = std::chrono::steady_clock::now();
  process.Wait(120);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  fmt::print("\nCLI on a board that stops answering: {:.3f} processor s in {:.1f} s ({:.1f} %)\n",
             process.ProcessorSeconds(), seconds, 100 * process.ProcessorSeconds() / seconds);
}

/// One call of the command line that programs that many boards at once, each on a line of its own.
void MeasureGang(int runs, const std::string& hex_file) {
  fmt::print("\nseveral boards in one call, lines paced at 57600 baud\n{:>6} {:>9} {:>9} {:>20}\n",
             "boards", "whole s", "to one", "processor % a board");
  double one = 0;
  for (const int count : {1, 2, 4, 8}) {
    std::vector<std::unique_ptr<Board>> boards;
    std::vector<std::string> command{FENWRIGHT_CLI_PROGRAM, "--quiet", "--device", kDevice};
    for (int i = 0; i < count; ++i) {
      boards.push_back(std::make_unique<Board>(std::vector<std::string>{"--baud", "57600"}));
      command.insert(command.end(), {"--port", boards.back()->Link()});
    }
    command.insert(command.end(), {"program", hex_file});
    const Times best = Best(runs, [&] {
      const auto start = std::chrono::steady_clock::now();
      testing::Process process(command);
      if (process.Wait(300) != 0) throw std::runtime_error("gang: " + process.Errors());
      const std::chrono::duration<double> whole = std::chrono::steady_clock::now() - start;
      return Times{
          .Write = whole.count(), .Processor = process.ProcessorSeconds(), .Whole = whole.count()};
    });
    if (count == 1) one = best.Whole;
    fmt::print("{:6} {:9.2f} {:9.3f} {:20.1f}\n", count, best.Whole, best.Whole / one,
               100 * best.Processor / best.Whole / count);
  }
}

int Main(int runs, bool gang_alone) {
  testing::Bytes flash = testing::RandomBytes(std::size_t{2} * kFlashWords, 8515);
  flash.back() = 0x5A;
  const testing::TemporaryFolder folder;
  const std::string hex_file = folder.File("full.hex");
  testing::WriteFile(hex_file, testing::HexFile(flash));
  if (gang_alone) {
    MeasureGang(runs, hex_file);
    return 0;
  }
  constexpr double kBaud = 57600;
  fmt::print("{}: {} words, {} exchanges; best of {} runs\n", kDevice, kFlashWords, kExchanges,
             runs);
  fmt::print("the wire's own time at 57600 baud: {:.3f} s\n", WireSeconds(kBaud));
  {
    const Board board({"--baud", "57600"});
    Measure("line paced at 57600 baud", board, flash, hex_file, runs);
    MeasureUpdate("line paced at 57600 baud", board, runs);
  }
  {
    const Board board({"--baud", "0"});
    Measure("infinitely fast board", board, flash, hex_file, runs + 2);
    MeasureUpdate("infinitely fast board", board, runs + 2);
  }
  MeasureGang(runs, hex_file);
  MeasureWaiting();
  return 0;
}

}  // namespace
}  // namespace fenwright::bench

int main(int argc, char** argv) try {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
  const bool gang_alone = argc > 2 && std::string(argv[2]) == "gang";
  return fenwright::bench::Main(runs, gang_alone);
} catch (const std::exception& error) {
  fmt::print(stderr, "programming_bench: {}\n", error.what());
  return 1;
}
