// What the memory views mark of a chip that differs, and until when.

#include "ops/command.h"
#include "ops/commands.h"
#include "ops/samples.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using Places = std::vector<screen::DifferingPlace>;

/// A programmed chip of which some cells are then changed.
struct DifferenceMarks : Test, BoardRun {
  DifferenceMarks() : BoardRun(kTiny12) {
    LoadImage({0x0C, 0x94, 0x2A, 0x00, 0x55, 0xAA, 0x11, 0x22}, {0x11, 0x22, 0x33});
    Do(ops::Cmd_btn_program_Click);
  }
  void Do(const ops::Entry& command) {
    EXPECT_EQ(ops::RunCommand(Context, command), CommandEnding::Finished);
  }
  void Verify() { Do(ops::Cmd_btn_verify_Click); }
  void SpoilAndVerify() {
    Chip().SetFlashWord(3, 0xFFFF);
    Chip().SetEepromByte(1, 0x7F);
    Verify();
    ASSERT_FALSE(Views.Differences.empty());
  }
};

TEST_F(DifferenceMarks, AreNoneWhereTheChipHoldsTheSame) {
  EXPECT_TRUE(Views.Differences.empty());
  Verify();
  EXPECT_TRUE(Views.Differences.empty());
}

TEST_F(DifferenceMarks, AreTheBytesThatDifferWithWhatBufferAndChipHold) {
  Chip().SetFlashWord(0, 0xFF0C);
  Chip().SetFlashWord(2, 0xAA54);
  Chip().SetFlashWord(3, 0x0000);
  Chip().SetEepromByte(1, 0x7F);
  Verify();
  EXPECT_EQ(Views.Differences.at(View::Flash),
            (Places{{{.Line = 0, .Column = 6, .Length = 2}, "0000 : バッファー 940C、チップ FF0C"},
                    {{.Line = 0, .Column = 6 + 2 * 5 + 2, .Length = 2},
                     "0002 : バッファー AA55、チップ AA54"},
                    {{.Line = 0, .Column = 6 + 3 * 5, .Length = 4},
                     "0003 : バッファー 2211、チップ 0000"}}));
  EXPECT_EQ(
      Views.Differences.at(View::Eeprom),
      (Places{{{.Line = 0, .Column = 6 + 3, .Length = 2}, "0001 : バッファー 22、チップ 7F"}}));
}

TEST_F(DifferenceMarks, OfOneMemoryAreNoneInTheOther) {
  Chip().SetEepromByte(2, 0);
  Verify();
  EXPECT_FALSE(Views.Differences.contains(View::Flash));
  EXPECT_TRUE(Views.Differences.contains(View::Eeprom));
}

TEST(DifferenceMarksOf, AProgramRunAreThoseOfItsVerify) {
  BoardRun run(kTiny12, WithFaults("stuck@flash:0x1:15=0"));
  run.LoadImage({0x0C, 0x94, 0x2A, 0xF0}, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(
      run.Views.Differences.at(View::Flash),
      (Places{{{.Line = 0, .Column = 6 + 5, .Length = 2}, "0001 : バッファー F02A、チップ 702A"}}));
}

TEST(DifferenceMarksOf, AVerifyThatBreaksOffAreThoseThatItHadFound) {
  // The first word is reply 12.
  BoardRun run(kTiny12, WithFaults("drop@13"));
  run.LoadImage({0x0C, 0x94, 0x2A, 0x00}, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  EXPECT_FALSE(run.State.Command.VerifyFinished);
  EXPECT_EQ(
      run.Views.Differences.at(View::Flash),
      (Places{{{.Line = 0, .Column = 6, .Length = 4}, "0000 : バッファー 940C、チップ FFFF"}}));
}

TEST_F(DifferenceMarks, GoWhenTheNextCommandOnTheChipStarts) {
  for (const ops::Entry& command : std::vector<ops::Entry>{
           ops::Cmd_btn_program_Click, ops::Cmd_btn_read_Click, ops::Cmd_btn_erase_Click,
           ops::cmdFuseRead_Click, ops::cmdFuseWrite_Click}) {
    SpoilAndVerify();
    Do(command);
    EXPECT_TRUE(Views.Differences.empty());
    LoadImage({0x0C, 0x94, 0x2A, 0x00, 0x55, 0xAA, 0x11, 0x22}, {0x11, 0x22, 0x33});
    Do(ops::Cmd_btn_program_Click);
  }
  SpoilAndVerify();
  Chip().SetFlashWord(3, 0x2211);
  Chip().SetEepromByte(1, 0x22);
  Verify();
  EXPECT_TRUE(Views.Differences.empty());
}

TEST_F(DifferenceMarks, StayWhileACellIsLookedAt) {
  SpoilAndVerify();
  HandEdit.Address = "3";
  Do(ops::txtAddress_Change);
  EXPECT_FALSE(Views.Differences.empty());
  EXPECT_FALSE(Views.Marks.empty());
}

}  // namespace
}  // namespace fenwright::testing
