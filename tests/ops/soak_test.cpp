// A thousand chips in one process: memory, handles and the time of each command stay flat. The
// table that the test prints has the figures.

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

struct Use {
  long Kilobytes = 0;  ///< resident
  int Handles = 0;
};

Use UseOfThisProcess() {
  std::ifstream statm("/proc/self/statm");
  long size = 0;
  long resident = 0;
  statm >> size >> resident;
  const std::filesystem::directory_iterator handles("/proc/self/fd");
  return {.Kilobytes = resident * (sysconf(_SC_PAGESIZE) / 1024),
          .Handles = static_cast<int>(std::distance(begin(handles), end(handles)))};
}

/// What the fakes of the tests keep of a run is no part of the program.
void Forget(BoardRun& run) {
  run.Wire = {};
  run.Files.Files.clear();
  run.Files.OwnFiles = {};
  run.Files.Deleted = {};
  run.StatusBar.History = {};
  run.Dialog.Progress = {};
  run.Dialog.Shown = {};
  run.Dialog.Phases = {};
  run.Boxes.Boxes = {};
  run.Views.Calls = {};
  run.Fuses.Calls = {};
}

TEST(Soak, AThousandProgramRunsTakeNoMoreThanTheFirst) {
  constexpr int kRuns = 1000;
  constexpr int kBlock = 100;
  BoardRun run("ATtiny12L", {.Baud = 0});
  double first_block = 0;
  double last_block = 0;
  Use first;
  auto start = std::chrono::steady_clock::now();
  for (int number = 1; number <= kRuns; ++number) {
    // Every run has another image.
    run.LoadImage(RandomBytes(256, static_cast<unsigned>(number)), {0x11, 0x22});
    ASSERT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::Finished);
    ASSERT_TRUE(ops::Succeeded(run.State)) << "run " << number;
    Forget(run);
    if (number % kBlock != 0) continue;
    const auto now = std::chrono::steady_clock::now();
    last_block = std::chrono::duration<double>(now - start).count();
    start = now;
    const Use use = UseOfThisProcess();
    if (number == kBlock) {
      first = use;
      first_block = last_block;
    }
    std::printf("soak: %4d runs, %6ld KiB, %2d handles, %.2f ms a run\n", number, use.Kilobytes,
                use.Handles, last_block / kBlock * 1e3);
    EXPECT_EQ(use.Handles, first.Handles);
    constexpr long kSlackKilobytes = 512;
    EXPECT_LE(use.Kilobytes, first.Kilobytes + kSlackKilobytes);
  }
  EXPECT_LT(last_block, 2 * first_block + 0.2) << "the time of a run grows";
}

}  // namespace
}  // namespace fenwright::testing
