// Clearing the buffers, and the line that the port menu leaves in the trace.

#include <algorithm>

#include <gtest/gtest.h>

#include "core/recorded_run.h"
#include "ops/command.h"
#include "ops/commands.h"

namespace fenwright::testing {
namespace {

using core::CommandEnding;

struct ClearRun : RecordedRun {
  ClearRun() {
    Start("AT90S2313");
    std::ranges::fill(State.FlashBuffer, std::uint8_t{0x41});
    std::ranges::fill(State.EepromBuffer, std::uint8_t{0x42});
  }
};

TEST(ClearBuffers, FillsBothBuffersToTheirLastCell) {
  ClearRun run;
  EXPECT_EQ(ops::RunCommand(run.Context, ops::mnuPC_buffer_clear_Click), CommandEnding::Finished);
  EXPECT_TRUE(std::ranges::all_of(run.State.FlashBuffer, [](auto byte) { return byte == 0xFF; }));
  EXPECT_TRUE(std::ranges::all_of(run.State.EepromBuffer, [](auto byte) { return byte == 0xFF; }));
  EXPECT_EQ(run.State.FlashBuffer.size(), 65537U);
  EXPECT_EQ(run.State.EepromBuffer.size(), 2049U);
}

TEST(ClearBuffers, AppliesTheDeviceRebuildsBothViewsAndSaysSoAtTheEnd) {
  ClearRun run;
  ops::RunCommand(run.Context, ops::mnuPC_buffer_clear_Click);
  EXPECT_EQ(
      run.TakeJournal(),
      (Journal{"store Settings/device 7", "labels", "write /app/avrhex.txt", "load flash view",
               "write /app/avreep.txt", "load EEPROM view", "show device frame",
               "panel 1 バッファーをクリアしました。", "append /app/_debug_avr.txt"}));
}

TEST(ClearBuffers, TheViewsShowADumpOfBlankCells) {
  ClearRun run;
  ops::RunCommand(run.Context, ops::mnuPC_buffer_clear_Click);
  const std::string flash = run.FileText("avrhex.txt");
  EXPECT_TRUE(flash.starts_with("0000: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF "));
  EXPECT_EQ(flash.find("4141"), std::string::npos);
  EXPECT_TRUE(run.FileText("avreep.txt")
                  .starts_with("0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF "));
}

TEST(ClearBuffers, LeavesTheFileNamesAlone) {
  ClearRun run;
  run.State.CodeFileName = "/files/prog.hex";
  run.State.DataFileName = "/files/prog.eep";
  ops::RunCommand(run.Context, ops::mnuPC_buffer_clear_Click);
  EXPECT_EQ(run.State.CodeFileName, "/files/prog.hex");
  EXPECT_EQ(run.State.DataFileName, "/files/prog.eep");
}

TEST(ClearBuffers, WaitsForNoOtherCommand) {
  ClearRun run;
  run.State.CommandRunning = true;
  EXPECT_EQ(ops::RunCommand(run.Context, ops::mnuPC_buffer_clear_Click), CommandEnding::Refused);
  EXPECT_EQ(run.State.FlashBuffer.front(), 0x41);
}

TEST(ClearBuffers, ADumpThatTheDiscRefusesIsReportedAndTheBuffersAreBlank) {
  ClearRun run;
  run.Files.Refused = {"/app/avrhex.txt"};
  EXPECT_EQ(ops::RunCommand(run.Context, ops::mnuPC_buffer_clear_Click), CommandEnding::FileError);
  EXPECT_EQ(run.State.FlashBuffer.front(), 0xFF);
  EXPECT_EQ(run.Boxes.Boxes.size(), 1U);
}

}  // namespace
}  // namespace fenwright::testing
