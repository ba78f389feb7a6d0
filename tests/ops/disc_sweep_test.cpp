// A disc that takes nothing from some write on, for every write of every command: what is shown is
// what the buffers hold, what is said about the chip is true, and nothing is told of the run
// before.

#include <cstdio>

#include "image/dump_files.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/samples.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using screen::View;

constexpr const char* kVerified = "プログラムとベリファイが正常に終了しました。";

Bytes OldImage() { return {0x11, 0x22, 0x33, 0x44}; }
Bytes NewImage() { return {0x0C, 0x94, 0x2A, 0x00, 0x55, 0xAA}; }

struct CommandRow {
  const char* Name;
  ops::Entry Entry;
};

const std::vector<CommandRow>& Commands() {
  static const std::vector<CommandRow> rows{
      {"Program", ops::Cmd_btn_program_Click},  {"Read", ops::Cmd_btn_read_Click},
      {"Verify", ops::Cmd_btn_verify_Click},    {"Erase", ops::Cmd_btn_erase_Click},
      {"ReadFuses", ops::cmdFuseRead_Click},    {"WriteFuses", ops::cmdFuseWrite_Click},
      {"Device", ops::Combo_device_Click},      {"Clear", ops::mnuPC_buffer_clear_Click},
      {"Open", ops::mnuFileOpen_Click},         {"OpenCode", ops::mnuFileOpenCode_Click},
      {"OpenData", ops::mnuFileOpenData_Click}, {"Reload", ops::Cmd_btn_reload_Click},
      {"Save", ops::Cmd_btn_save_Click},        {"Write", ops::CmdWrite_Click}};
  return rows;
}

/// A board whose chip was programmed well with the old image; the new one is in the buffers.
struct AfterGoodRun : BoardRun {
  AfterGoodRun() : BoardRun(kTiny12, {.Baud = 0}) {
    Views.Source = &Files;
    Files.Files["/p/a.hex"] = HexFile(NewImage());
    Files.Files["/p/a.eep"] = HexFile({0x42});
    FileDialogs.Choice = "/p/a.hex";
    ops::RunCommand(Context, ops::mnuFileOpen_Click);
    FillBuffers(0xFF, 0xFF);
    LoadImage(OldImage(), {});
    ops::RunCommand(Context, ops::Cmd_btn_program_Click);
    EXPECT_TRUE(ops::Succeeded(State));
    LoadImage(NewImage(), {});
    image::RefreshFlashView(Context);
    image::RefreshEepromView(Context);
    HandEdit.Address = "0001";
    HandEdit.Data = "BEEF";
    Dialog.Close();
    Boxes.Boxes.clear();
    Files.WriteCount = 0;
  }
  void ExpectTheViewsShowTheBuffers() {
    EXPECT_EQ(Views.Texts[View::Flash], image::FlashDump(State));
    EXPECT_EQ(Views.Texts[View::Eeprom], image::EepromDump(State));
  }
  [[nodiscard]] bool ChipHolds(const Bytes& image) {
    for (std::uint32_t word = 0; word < 512; ++word) {
      const std::size_t low = 2 * static_cast<std::size_t>(word);
      const unsigned expected =
          low < image.size() ? image[low] | static_cast<unsigned>(image[low + 1]) << 8U : 0xFFFFU;
      if (Chip().FlashWord(word) != expected) return false;
    }
    return true;
  }
};

int WritesOf(const CommandRow& row) {
  AfterGoodRun run;
  ops::RunCommand(run.Context, row.Entry);
  return run.Files.WriteCount;
}

TEST(DiscSweep, EveryWriteOfEveryCommandMayBeRefused) {
  int tried = 0;
  for (const CommandRow& row : Commands()) {
    const int writes = WritesOf(row);
    ASSERT_GT(writes, 0) << row.Name;
    for (int first = 0; first < writes; ++first) {
      SCOPED_TRACE(std::string(row.Name) + ", from write " + std::to_string(first));
      ++tried;
      AfterGoodRun run;
      run.Files.FullFrom = first;
      const CommandEnding ending = ops::RunCommand(run.Context, row.Entry);
      EXPECT_FALSE(run.State.CommandRunning);
      EXPECT_FALSE(run.Port.Board().Protocol().InProgrammingMode());
      EXPECT_EQ(run.Files.OpenWriters, 0);
      run.ExpectTheViewsShowTheBuffers();
      if (ending == CommandEnding::FileError) {
        EXPECT_THAT(run.Boxes.Boxes, Not(IsEmpty()));
      }
      // Nothing went to the chip: nothing is told of the run before.
      if (first == 0 && ending == CommandEnding::FileError) {
        EXPECT_EQ(run.Dialog.Text.find(kVerified), std::string::npos) << run.Dialog.Text;
        EXPECT_TRUE(run.ChipHolds(OldImage()) || run.State.Command.EraseStarted);
      }
      if (std::string_view(row.Name) == "Program" && ops::Succeeded(run.State)) {
        EXPECT_TRUE(run.ChipHolds(NewImage()));
      }

      // A disc that has room again: the next run is as any other.
      run.Files.FullFrom = -1;
      run.FillBuffers(0xFF, 0xFF);
      run.LoadImage(NewImage(), {});
      EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::Finished);
      EXPECT_TRUE(ops::Succeeded(run.State));
      EXPECT_TRUE(run.ChipHolds(NewImage()));
    }
  }
  RecordProperty("tried", tried);
  std::printf("disc sweep: %d refused writes in %zu commands\n", tried, Commands().size());
}

TEST(DiscSweep, ARefusedReportLeavesTheStateOfTheChipInTheTrace) {
  AfterGoodRun run;
  run.Files.Refused = {"/app/avrvfy.txt"};
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::FileError);
  EXPECT_EQ(run.NewTrace().back(), run.Dialog.Text);
  EXPECT_THAT(run.Dialog.Text, HasSubstr("ベリファイしていません。"));
}

TEST(DiscSweep, ATraceThatIsRefusedAtTheStartTellsNothingOfTheRunBefore) {
  for (const CommandRow& row : Commands()) {
    AfterGoodRun run;
    run.Files.Refused = {"/app/_debug_avr.txt"};
    run.Wire.clear();
    ops::RunCommand(run.Context, row.Entry);
    EXPECT_THAT(run.Wire, IsEmpty()) << row.Name;
    EXPECT_THAT(run.Dialog.Text, Not(HasSubstr(kVerified))) << row.Name;
    EXPECT_THAT(run.ChipState(), Not(HasSubstr("programmed and verified"))) << row.Name;
    EXPECT_TRUE(run.ChipHolds(OldImage())) << row.Name;
  }
}

}  // namespace
}  // namespace fenwright::testing
