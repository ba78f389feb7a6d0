// What the phases of programming, reading and verifying show, note and leave behind.

#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/samples.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

constexpr const char* kReport = "/app/avrvfy.txt";

/// Texts of the dialog with their modes, in order.
using Shown = std::vector<std::pair<std::string, MessageMode>>;

/// Programs three words and two bytes.
struct ProgramRun : BoardRun {
  explicit ProgramRun(board::SimulatedBoardOptions options = {})
      : BoardRun(kTiny12, std::move(options)) {
    LoadImage({0x0C, 0x94, 0x2A, 0x00, 0x55, 0xAA}, {0x11, 0x22});
  }
  CommandEnding Program() { return ops::RunCommand(Context, ops::Cmd_btn_program_Click); }
};

/// The flash phase: "A" "P" "a", two a word, "L".
constexpr int kRepliesBeforeEeprom = kRepliesBeforeFlash + 3 + 6 + 1;

board::SimulatedBoardOptions Without(int reply) {
  return WithFaults("drop@" + std::to_string(reply));
}

TEST(ProgramPhase, TextsAreBusyUntilTheResult) {
  ProgramRun run;
  run.Program();
  EXPECT_EQ(run.Dialog.Shown,
            (Shown{{"チップ イレース中.....", MessageMode::Busy},
                   {"フラッシュプログラムメモリ プログラム中.....", MessageMode::Busy},
                   {"フラッシュプログラムメモリ プログラム中.....", MessageMode::Busy},
                   {"ＥＥＰＲＯＭデータメモリ プログラム中.....", MessageMode::Busy},
                   {"フラッシュメモリ ベリファイ中.....", MessageMode::Busy},
                   {"フラッシュメモリ ベリファイ中.....", MessageMode::Busy},
                   {"ＥＥＰＲＯＭデータメモリ ベリファイ中.....", MessageMode::Busy},
                   {"ベリファイ　FLASH : OK / EEPROM : OK", MessageMode::Notice}}));
}

TEST(ReadPhase, TextsAreBusy) {
  BoardRun run(kTiny12);
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Shown,
            (Shown{{"フラッシュプログラムメモリ　読出し中.....", MessageMode::Busy},
                   {"フラッシュプログラムメモリ　読出し中.....", MessageMode::Busy},
                   {"ＥＥＰＲＯＭデータメモリ 読出し中.....", MessageMode::Busy},
                   {"Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....", MessageMode::Busy}}));
}

TEST(ProgramPhase, AGoodRunNotesEveryCell) {
  ProgramRun run;
  run.Program();
  const core::CommandRecord& done = run.State.Command;
  EXPECT_EQ(done.FlashWordsWritten, 3);
  EXPECT_FALSE(done.FlashFailed);
  EXPECT_TRUE(done.EepromStarted);
  EXPECT_EQ(done.EepromBytesDone, 2);
  EXPECT_FALSE(done.EepromFailed);
}

TEST(ProgramPhase, ItsTimesAreThoseOfTheWordsAlone) {
  ProgramRun run;
  const double start = run.Clock.Elapsed();
  run.Program();
  const double took = run.Clock.Elapsed() - start;
  constexpr double kWireByte = 10.0 / 57600;
  // Three words of six bytes written, of three read back.
  EXPECT_GE(run.State.Command.FlashWriteSeconds, 18 * kWireByte - 1e-6);
  EXPECT_LT(run.State.Command.FlashWriteSeconds, took);
  EXPECT_GE(run.State.Command.FlashVerifySeconds, 9 * kWireByte - 1e-6);
  EXPECT_LT(run.State.Command.FlashVerifySeconds, took);
}

TEST(ProgramPhase, AWordThatFailsEndsTheCountAndTheWordsBehindItAreSentAllTheSame) {
  // The second word's low byte.
  ProgramRun run(Without(kRepliesBeforeFlash + 3 + 3));
  run.Program();
  EXPECT_EQ(run.State.Command.FlashWordsWritten, 1);
  EXPECT_TRUE(run.State.Command.FlashFailed);
  EXPECT_TRUE(run.State.Command.EepromStarted) << "the EEPROM is programmed all the same";
  EXPECT_EQ(run.State.Command.EepromBytesDone, 2);
}

TEST(ProgramPhase, AnEndOfTheFlashPhaseThatFailsIsAFailureOfThePhase) {
  ProgramRun run(Without(kRepliesBeforeEeprom));
  run.Program();
  EXPECT_EQ(run.State.Command.FlashWordsWritten, 3);
  EXPECT_TRUE(run.State.Command.FlashFailed);
}

TEST(ProgramPhase, AByteThatFailsEndsTheCountOfBytes) {
  // "A" "P", "a" "D" of the first byte, then the second byte's "D".
  ProgramRun run(Without(kRepliesBeforeEeprom + 2 + 2 + 2));
  run.Program();
  EXPECT_EQ(run.State.Command.EepromBytesDone, 1);
  EXPECT_TRUE(run.State.Command.EepromFailed);
}

TEST(ProgramPhase, AnEndOfTheEepromPhaseThatFailsIsAFailureOfThePhase) {
  ProgramRun run(Without(kRepliesBeforeEeprom + 2 + 4 + 1));
  run.Program();
  EXPECT_EQ(run.State.Command.EepromBytesDone, 2);
  EXPECT_TRUE(run.State.Command.EepromFailed);
}

TEST(ProgramPhase, ADeviceThatIsInNoRowIsWrittenInTwoExchangesAWord) {
  ProgramRun run;
  // The nine characters that are compared are those of the chip in the socket.
  run.Form.ForcedText = "ATtiny12L of another kind";
  run.Program();
  EXPECT_EQ(std::ranges::count(run.Wire, std::uint8_t{'c'}), 3);
  EXPECT_EQ(std::ranges::count(run.Wire, std::uint8_t{'W'}), 0);
}

TEST(ReadPhase, ARefusedFlashFrameEndsTheWholeRead) {
  // The link check has 4 replies, the signature session 4.
  BoardRun run(kTiny12, Without(9));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Wire.back(), 'A');
  EXPECT_EQ(run.Wire.size(), BoardRun::LinkCheckBytes(0x55).size() + 4 + 1);
}

TEST(ReadPhase, AFailedCheckOfTheChipSendsNothingElse) {
  BoardRun run(kTiny12, {.Chip = "AT90S2313"});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Wire, Joined({BoardRun::LinkCheckBytes(0x55), Hex("'APsL'")}));
}

TEST(ReadPhase, AFailedEepromIsNoFinishedRead) {
  // Flash phase: "A" "P" "a", 512 words, "L"; then "A" "P" "a" "d".
  BoardRun run(kTiny12, Without(528));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_FALSE(run.State.Command.ReadFinished);
  EXPECT_EQ(run.ChipState(), "not read completely: read again");
}

// The comparison.

struct Compared : BoardRun {
  Compared() : BoardRun(kTiny12) {
    LoadImage({0x0C, 0x94}, {0x11});
    Chip().SetFlashWord(0, 0x940C);
    Chip().SetEepromByte(0, 0x11);
  }
  CommandEnding Verify() { return ops::RunCommand(Context, ops::Cmd_btn_verify_Click); }
};

TEST(Compare, EachByteOfAWordCounts) {
  for (const int word : {0x940D, 0x950C}) {
    Compared run;
    run.Chip().SetFlashWord(0, static_cast<std::uint16_t>(word));
    run.Verify();
    EXPECT_TRUE(run.State.FlashNG) << word;
    EXPECT_FALSE(run.State.EepromNG) << word;
  }
}

TEST(Compare, ADifferenceIsNeverCalledGoodFirst) {
  Compared run;
  run.Chip().SetEepromByte(0, 0x12);
  run.Verify();
  EXPECT_THAT(run.Dialog.Shown,
              Not(Contains(Pair("ベリファイ　FLASH : OK / EEPROM : OK", MessageMode::Notice))));
  EXPECT_THAT(run.Dialog.Shown.back(),
              Pair("ベリファイ　FLASH : OK / EEPROM : NG", MessageMode::Notice));
  EXPECT_TRUE(run.Dialog.ButtonFocused);
}

TEST(Compare, ClearsTheReportsViewAndNoOther) {
  Compared run;
  run.Views.Calls.clear();
  run.Verify();
  EXPECT_THAT(run.Views.Calls,
              ElementsAre(Pair("clear", View::Verify), Pair("load", View::Verify)));
}

TEST(VerifyReport, ThatCannotBeOpenedEndsTheCommandWithItsReason) {
  Compared run;
  run.Files.Refused = {kReport};
  EXPECT_EQ(run.Verify(), CommandEnding::FileError);
  EXPECT_THAT(run.Boxes.Boxes.at(0).Text,
              AllOf(HasSubstr(kReport), HasSubstr("permission denied")));
}

TEST(VerifyReport, ThatDoesNotFitTheDiscEndsTheCommandWithTheReason) {
  Compared run;
  run.Files.Capacity = 1;
  run.Files.Files["/app/_debug_avr.txt"];
  EXPECT_EQ(run.Verify(), CommandEnding::FileError);
  EXPECT_THAT(
      run.Boxes.Boxes.at(0).Text,
      AllOf(HasSubstr(kReport), HasSubstr("\r\nディスクの空き容量がありません。(disc full)\r\n")));
}

TEST(VerifyReport, ThatIsLostWhenItIsClosedEndsTheCommand) {
  Compared run;
  run.Files.LostAtClose = {kReport};
  EXPECT_EQ(run.Verify(), CommandEnding::FileError);
  EXPECT_THAT(run.Boxes.Boxes.at(0).Text, HasSubstr(kReport));
}

TEST(VerifyReport, IsClosedBeforeItIsShown) {
  Compared run;
  run.Verify();
  EXPECT_EQ(run.Files.OpenWriters, 0);
  EXPECT_TRUE(run.State.Command.VerifyFinished);
}

}  // namespace
}  // namespace fenwright::testing
