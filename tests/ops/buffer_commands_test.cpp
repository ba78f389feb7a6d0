// Clearing the buffers, and the line that the port menu leaves in the trace.

#include "ops/command.h"
#include "ops/commands.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

struct ClearBuffers : Test, RecordedRun {
  ClearBuffers() {
    Start("AT90S2313");
    std::ranges::fill(State.FlashBuffer, std::uint8_t{0x41});
    std::ranges::fill(State.EepromBuffer, std::uint8_t{0x42});
  }
};

TEST_F(ClearBuffers, FillsBothBuffersToTheirLastCell) {
  EXPECT_EQ(ops::RunCommand(Context, ops::mnuPC_buffer_clear_Click), CommandEnding::Finished);
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_EQ(State.FlashBuffer.size(), 65537U);
  EXPECT_EQ(State.EepromBuffer.size(), 2049U);
}

TEST_F(ClearBuffers, AppliesTheDeviceRebuildsBothViewsAndSaysSoAtTheEnd) {
  ops::RunCommand(Context, ops::mnuPC_buffer_clear_Click);
  EXPECT_EQ(TakeJournal(), (Journal{"store Settings/device 7", "labels", "write /app/avrhex.txt",
                                    "load flash view", "write /app/avreep.txt", "load EEPROM view",
                                    "show device frame", "panel 1 バッファーをクリアしました。",
                                    "append /app/_debug_avr.txt"}));
}

TEST_F(ClearBuffers, TheViewsShowADumpOfBlankCells) {
  ops::RunCommand(Context, ops::mnuPC_buffer_clear_Click);
  const std::string flash = FileText("avrhex.txt");
  EXPECT_TRUE(flash.starts_with("0000: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF "));
  EXPECT_THAT(flash, Not(HasSubstr("4141")));
  EXPECT_TRUE(
      FileText("avreep.txt").starts_with("0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF "));
}

TEST_F(ClearBuffers, LeavesTheFileNamesAlone) {
  State.CodeFileName = "/files/prog.hex";
  State.DataFileName = "/files/prog.eep";
  ops::RunCommand(Context, ops::mnuPC_buffer_clear_Click);
  EXPECT_EQ(State.CodeFileName, "/files/prog.hex");
  EXPECT_EQ(State.DataFileName, "/files/prog.eep");
}

TEST_F(ClearBuffers, WaitsForNoOtherCommand) {
  State.CommandRunning = true;
  EXPECT_EQ(ops::RunCommand(Context, ops::mnuPC_buffer_clear_Click), CommandEnding::Refused);
  EXPECT_EQ(State.FlashBuffer.front(), 0x41);
}

TEST_F(ClearBuffers, ADumpThatTheDiscRefusesStopsNothing) {
  Files.Refused = {"/app/avrhex.txt"};
  EXPECT_EQ(ops::RunCommand(Context, ops::mnuPC_buffer_clear_Click), CommandEnding::Finished);
  EXPECT_EQ(State.FlashBuffer.front(), 0xFF);
  EXPECT_TRUE(Views.Texts[screen::View::Flash].starts_with("0000: FFFF "));
  EXPECT_EQ(State.FlashDumpRefusal.Reason, "permission denied");
}

}  // namespace
}  // namespace fenwright::testing
