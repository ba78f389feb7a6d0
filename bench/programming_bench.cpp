// Programs and verifies a full flash through a pseudo terminal, in three ways on the same line in
// the same run: a bare loop of system calls, the command line, and the window. See README.md here.

#include <algorithm>
#include <cstdio>
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

int Main(int runs) {
  testing::Bytes flash = testing::RandomBytes(2 * kFlashWords, 8515);
  flash.back() = 0x5A;
  const testing::TemporaryFolder folder;
  const std::string hex_file = folder.File("full.hex");
  testing::WriteFile(hex_file, testing::HexFile(flash));
  constexpr double kBaud = 57600;
  fmt::print("{}: {} words, {} exchanges; best of {} runs\n", kDevice, kFlashWords, kExchanges,
             runs);
  fmt::print("the wire's own time at 57600 baud: {:.3f} s\n", WireSeconds(kBaud));
  {
    const Board board({"--baud", "57600"});
    Measure("line paced at 57600 baud", board, flash, hex_file, runs);
  }
  {
    const Board board({"--baud", "0"});
    Measure("infinitely fast board", board, flash, hex_file, runs + 2);
  }
  MeasureWaiting();
  return 0;
}

}  // namespace
}  // namespace fenwright::bench

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
  return fenwright::bench::Main(runs);
}
