// The sign that each command ends with, the reason that goes with it, and what the second line of a
// result says about causes and use.

#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/samples.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using Sign = screen::Outcome;

constexpr const char* kLocked =
    "読み出した値がアドレスと同じなので、デバイスはプロテクトされている可能性があります。";
constexpr const char* kResetPinGone =
    "リセット端子の機能を無効にしました。このデバイスには、このプログラマではアクセスできなく"
    "なります。";

struct SignRun : BoardRun {
  explicit SignRun(std::string_view device = kTiny12, board::SimulatedBoardOptions options = {})
      : BoardRun(device, std::move(options)) {}

  /// Runs a command; the sign in panel 1, which is that of the dialog too while there is one.
  Sign Do(const ops::Entry& command) {
    EXPECT_EQ(ops::RunCommand(Context, command), CommandEnding::Finished);
    // A notice of an earlier command may be left with its own.
    if (Dialog.Loaded && StatusBar.Outcome != Sign::None) {
      EXPECT_EQ(Dialog.Outcome, StatusBar.Outcome);
    }
    EXPECT_EQ(State.ShownOutcome, StatusBar.Outcome);
    return StatusBar.Outcome;
  }
  Sign Program() { return Do(ops::Cmd_btn_program_Click); }
  void LoadSmallImage() { LoadImage({0x0C, 0x94, 0x2A, 0x00, 0x55, 0xAA}, {0x11, 0x22}); }
};

/// Below what is said of a failure stands the word for it that the command line explains.
TEST(Signs, AFailureHasTheCodeOfItsCause) {
  SignRun mismatch(kTiny12, {.Chip = "AT90S2313"});
  mismatch.LoadSmallImage();
  mismatch.Program();
  EXPECT_EQ(mismatch.Dialog.Code, "wrong-chip");
  SignRun silent(kTiny12, {.Faults = {{.What = board::Fault::Kind::Silent}}});
  silent.Do(ops::Cmd_btn_erase_Click);
  EXPECT_EQ(silent.Dialog.Code, "no-programmer");
  SignRun blank;
  blank.LoadSmallImage();
  blank.Do(ops::Cmd_btn_verify_Click);
  EXPECT_EQ(blank.Dialog.Code, "differences");
  blank.Program();
  EXPECT_EQ(blank.Dialog.Code, "");
}

TEST(Signs, AGoodRunOfEveryCommandIsASuccess) {
  SignRun run;
  run.LoadSmallImage();
  for (const ops::Entry& command : std::vector<ops::Entry>{
           ops::Cmd_btn_program_Click, ops::Cmd_btn_verify_Click, ops::Cmd_btn_read_Click,
           ops::cmdFuseRead_Click, ops::cmdFuseWrite_Click, ops::Cmd_btn_erase_Click}) {
    EXPECT_EQ(run.Do(command), Sign::Success);
    EXPECT_EQ(run.StatusBar.Reason, "");
  }
}

TEST(Signs, NoBoardIsAFailureOfEveryCommand) {
  for (const ops::Entry& command : std::vector<ops::Entry>{
           ops::Cmd_btn_program_Click, ops::Cmd_btn_verify_Click, ops::Cmd_btn_read_Click,
           ops::cmdFuseRead_Click, ops::cmdFuseWrite_Click, ops::Cmd_btn_erase_Click}) {
    SignRun run(kTiny12, WithFaults("silent"));
    EXPECT_EQ(run.Do(command), Sign::Failure);
    EXPECT_TRUE(run.Dialog.Loaded);
  }
}

TEST(Signs, ADifferenceAndALostReplyAreFailures) {
  SignRun different(kTiny12, WithFaults("stuck@eeprom:0:0=0"));
  different.LoadSmallImage();
  EXPECT_EQ(different.Program(), Sign::Failure);
  EXPECT_EQ(different.StatusBar.Reason,
            ops::DescribeChipState(different.State, core::Language::Japanese));
  SignRun lost(kTiny12, WithFaults("drop@20"));
  lost.LoadSmallImage();
  EXPECT_EQ(lost.Program(), Sign::Failure);
}

TEST(Signs, AFailureShowsAtOnceAndNotOnlyAtTheCommandsEnd) {
  // A word of the flash is refused; the EEPROM is programmed all the same.
  SignRun run(kTiny12, WithFaults("drop@20"));
  run.LoadSmallImage();
  std::set<Sign> seen;
  run.Events.OnTurn = [&run, &seen] {
    if (run.Dialog.Mode == MessageMode::Notice) seen.insert(run.Dialog.Outcome);
  };
  run.Program();
  EXPECT_EQ(seen, std::set{Sign::Failure});
}

TEST(Signs, NothingToProgramAndNothingToCompareAskForAttention) {
  SignRun run;
  EXPECT_EQ(run.Program(), Sign::Attention);
  EXPECT_EQ(run.StatusBar.Reason, "デバイスはイレースされました。書き込むデータはありません。");
  EXPECT_EQ(run.Dialog.Detail, run.StatusBar.Reason);
  EXPECT_EQ(run.Do(ops::Cmd_btn_verify_Click), Sign::Attention);
  EXPECT_EQ(run.StatusBar.Reason, "バッファーが空なので、比較したデータはありません。");
  EXPECT_EQ(run.Dialog.Detail, run.StatusBar.Reason);
  run.State.EepromBuffer[0] = 0;
  EXPECT_EQ(run.Do(ops::Cmd_btn_verify_Click), Sign::Failure) << "the chip is blank";
}

TEST(Signs, ADoubtfulFileAsksForAttentionEvenWhenItIsWrittenWithoutADifference) {
  for (const bool code : {true, false}) {
    SignRun run;
    run.LoadSmallImage();
    (code ? run.State.CodeDoubt : run.State.DataDoubt) = "⚠ doubt";
    EXPECT_EQ(run.Program(), Sign::Attention);
    EXPECT_EQ(run.StatusBar.Reason, "⚠ doubt");
    EXPECT_TRUE(ops::Succeeded(run.State));
    EXPECT_EQ(run.Do(ops::Cmd_btn_verify_Click), Sign::Success) << "it is about programming";
  }
}

TEST(Signs, AnEraseThatWasNotConfirmedAsksForAttentionAfterAGoodVerify) {
  // Reply 11 is that of "e".
  SignRun run(kTiny12, WithFaults("flip@11"));
  run.LoadSmallImage();
  EXPECT_EQ(run.Program(), Sign::Attention);
  EXPECT_THAT(run.StatusBar.Reason, HasSubstr("イレースを確認できなかった"));
}

TEST(Signs, AnEraseOfWhateverChipIsInTheSocketAsksForAttention) {
  SignRun run(kTiny12, {.Chip = "AT90S2313"});
  EXPECT_EQ(run.Do(ops::Cmd_btn_erase_Click), Sign::Attention);
  EXPECT_EQ(run.PanelText(Panel::Status), "チップ イレース完了。");
  EXPECT_THAT(run.StatusBar.Reason, HasSubstr("一致しません"));
}

TEST(Signs, TheResetPinGivenAwayIsADangerOnceItIsSent) {
  for (const char* device : {kTiny12, "ATtiny15L", "ATtiny26L"}) {
    SCOPED_TRACE(device);
    SignRun run(device);
    run.Fuses.Select(FuseList::Rstdisabl, 0);
    EXPECT_EQ(run.Do(ops::Combo_RSTDISABL_Click), Sign::Danger);
    EXPECT_EQ(run.StatusBar.Reason, run.Dialog.Text);
    EXPECT_EQ(run.Do(ops::cmdFuseWrite_Click), Sign::Danger);
    EXPECT_EQ(run.StatusBar.Reason, kResetPinGone);
    EXPECT_EQ(run.PanelText(Panel::Status), "Lock/Fuse bit ライトが完了しました。");
  }
}

TEST(Signs, AnUnansweredWriteOfTheResetPinIsADangerToo) {
  // Link check 4 replies, A P s L, A P: reply 11 is that of "u".
  SignRun run(kTiny12, WithFaults("drop@11"));
  run.Fuses.Select(FuseList::Rstdisabl, 0);
  EXPECT_EQ(run.Do(ops::cmdFuseWrite_Click), Sign::Danger);
}

TEST(Signs, AWriteThatEndsBeforeTheResetPinIsAnOrdinaryFailure) {
  // On the ATtiny26L the low byte comes first, and its "u" is reply 11.
  SignRun run("ATtiny26L", WithFaults("drop@11"));
  run.Fuses.Select(FuseList::Rstdisabl, 0);
  EXPECT_EQ(run.Do(ops::cmdFuseWrite_Click), Sign::Failure);
}

TEST(Signs, TheDangerGoesWhenTheChoiceIsTakenBack) {
  SignRun run;
  run.LoadSmallImage();
  run.Program();
  run.Do(ops::Combo_RSTDISABL_Click);
  EXPECT_EQ(run.StatusBar.Outcome, Sign::Success) << "there was no danger";
  run.Fuses.Select(FuseList::Rstdisabl, 0);
  run.Do(ops::Combo_RSTDISABL_Click);
  run.Fuses.Select(FuseList::Rstdisabl, 1);
  EXPECT_EQ(run.Do(ops::Combo_RSTDISABL_Click), Sign::None);
}

TEST(Signs, ANewStatusTextTakesTheSignAway) {
  SignRun run;
  run.LoadSmallImage();
  ASSERT_EQ(run.Program(), Sign::Success);
  run.State.CodeFileName = "/files/a.hex";
  run.State.DataFileName = "/files/a.eep";
  EXPECT_EQ(run.Do(ops::mnuFileSave_Click), Sign::None);
}

TEST(Signs, FileCommandsSayWhatBecameOfThem) {
  SignRun run;
  EXPECT_EQ(run.Do(ops::mnuFileSave_Click), Sign::Attention) << "no file is open";
  EXPECT_EQ(run.PanelText(Panel::Status), "ファイルがオープンされていません");
  EXPECT_EQ(run.Do(ops::mnuReLoad_Click), Sign::Attention);
  run.FileDialogs.Choice = "/files/missing.hex";
  EXPECT_EQ(run.Do(ops::mnuFileOpen_Click), Sign::Failure);
}

// Causes.

std::string FirstLine(const std::string& text) { return text.substr(0, text.find("\r\n")); }

TEST(Causes, AMismatchNamesTheChipInTheSocket) {
  const ops::Entry commands[] = {ops::Cmd_btn_program_Click, ops::Cmd_btn_read_Click,
                                 ops::Cmd_btn_verify_Click, ops::cmdFuseRead_Click,
                                 ops::cmdFuseWrite_Click};
  for (const ops::Entry& command : commands) {
    SignRun run(kTiny12, {.Chip = "AT90S8515"});
    const Bytes with_text = [&] {
      run.Do(command);
      return run.Wire;
    }();
    EXPECT_EQ(run.Dialog.Detail, "ソケットには AT90S8515 があります。\r\n" +
                                     ops::DescribeChipState(run.State, core::Language::Japanese));
    EXPECT_EQ(run.Trace().back(), run.Dialog.Detail);
    Bytes wire = BoardRun::LinkCheckBytes(0x55);
    for (const char byte : {'A', 'P', 's', 'L'}) wire.push_back(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(with_text, wire) << "no byte more";
  }
}

TEST(Causes, AChipThatCannotBeSelectedIsNamedToo) {
  SignRun run(kTiny12, {.Chip = "ATtiny11L"});
  run.Do(ops::Cmd_btn_verify_Click);
  EXPECT_THAT(FirstLine(run.Dialog.Detail), StartsWith("ソケットには ATtiny11"));
}

TEST(Causes, AChipThatHidesItsSignatureIsPerhapsProtected) {
  SignRun run;
  run.Chip().SetLockBits(0);
  run.Do(ops::Cmd_btn_verify_Click);
  EXPECT_EQ(FirstLine(run.Dialog.Detail),
            "シグネチャの代わりにアドレス(00:01:02)が読み出されました。"
            "デバイスはプロテクトされている可能性があります。");
}

TEST(Causes, AnEmptySocketHasNothingToName) {
  SignRun run;
  run.Port.Board().InsertChip("empty");
  run.Do(ops::Cmd_btn_verify_Click);
  EXPECT_EQ(run.Dialog.Detail, ops::DescribeChipState(run.State, core::Language::Japanese));
}

TEST(Causes, APulledCableSaysThatThePortHasGone) {
  const ops::Entry commands[] = {ops::Cmd_btn_program_Click, ops::Cmd_btn_read_Click,
                                 ops::Cmd_btn_verify_Click};
  for (const ops::Entry& command : commands) {
    SignRun run(kTiny12, WithFaults("hangup@20"));
    run.LoadSmallImage();
    EXPECT_EQ(run.Do(command), Sign::Failure);
    EXPECT_THAT(FirstLine(run.Dialog.Detail),
                AllOf(StartsWith("COM3"), EndsWith(" : 通信ポートがなくなりました。"
                                                   "USBケーブルと電源を確認してください。")));
    EXPECT_THAT(run.Dialog.Detail,
                EndsWith(ops::DescribeChipState(run.State, core::Language::Japanese)));
  }
}

TEST(Causes, DifferencesAreCounted) {
  SignRun run(kTiny12, WithFaults("stuck@eeprom:0:0=0 stuck@flash:0x1:15=1"));
  run.LoadSmallImage();
  run.Program();
  EXPECT_EQ(FirstLine(run.Dialog.Detail),
            "一致しない箇所 : フラッシュ 1 ワード、EEPROM 1 バイト。");
}

/// A chip that is locked behind the check of its signature: its cells read as their addresses.
void LockBehindTheSignature(SignRun& run) {
  run.Events.OnTurn = [&run] {
    if (std::ranges::count(run.Wire, 'L') > 0) run.Chip().SetLockBits(0);
  };
}

TEST(Causes, AVerifyThatReadsAddressesIsPerhapsOfAProtectedChip) {
  SignRun run;
  // No word of it is the same byte twice, as those that hold their addresses are.
  Bytes flash;
  for (int word = 0; word < 512; ++word) flash.insert(flash.end(), {0x5A, 0xA5});
  run.LoadImage(flash, Bytes(64, 0xA5));
  LockBehindTheSignature(run);
  EXPECT_EQ(run.Do(ops::Cmd_btn_verify_Click), Sign::Failure);
  EXPECT_EQ(FirstLine(run.Dialog.Detail),
            "一致しない箇所 : フラッシュ 512 ワード、EEPROM 64 バイト。" + std::string(kLocked));
}

TEST(Causes, AFewCellsThatHoldTheirAddressesSayNothing) {
  SignRun run;
  run.LoadImage({0x11, 0x11, 0x22, 0x22}, {});
  LockBehindTheSignature(run);
  run.Do(ops::Cmd_btn_verify_Click);
  EXPECT_EQ(FirstLine(run.Dialog.Detail), "一致しない箇所 : フラッシュ 2 ワード。");
}

TEST(Causes, AReadThatGivesAddressesAsksForAttentionAndSoDoesProgrammingIt) {
  SignRun run;
  // The fuses are read in a session of their own, whose check a locked chip would not pass.
  run.Events.OnTurn = [&run] {
    const bool reading = run.Dialog.Phase.starts_with("1 / 3") || run.Dialog.Phase.starts_with("2");
    run.Chip().SetLockBits(reading && std::ranges::count(run.Wire, 'L') > 0 ? 0 : 3);
  };
  EXPECT_EQ(run.Do(ops::Cmd_btn_read_Click), Sign::Attention);
  EXPECT_EQ(run.StatusBar.Reason, kLocked);
  EXPECT_THAT(run.State.CodeInfo, EndsWith("\n⚠ " + std::string(kLocked)));
  run.Events.OnTurn = {};
  EXPECT_EQ(run.Program(), Sign::Attention);
  EXPECT_THAT(run.Dialog.Detail, StartsWith("⚠ " + std::string(kLocked)));
}

// The use of the chip.

TEST(Use, OfTheChipStandsBelowTheResultOfAGoodProgramRunAndIsNotTraced) {
  SignRun run("AT90S8515");
  run.LoadImage(Bytes(600, 0x5A), Bytes(40, 0xA5));
  run.NewTrace();
  EXPECT_EQ(run.Program(), Sign::Success);
  const std::string use =
      "フラッシュの使用量 : 300 / 4096 ワード (8 %)\r\nEEPROMの使用量 : 40 / 512 バイト (8 %)";
  EXPECT_EQ(run.Dialog.Detail, use);
  EXPECT_THAT(run.NewTrace(), Not(Contains(HasSubstr("使用量"))));
}

TEST(Use, IsNeitherNothingForALittleNorAllForNearlyAll) {
  core::AppState state;
  state.FlashWords = 4096;
  state.EepromBytes = 512;
  std::ranges::fill(state.FlashBuffer, 0xFF);
  std::ranges::fill(state.EepromBuffer, 0xFF);
  state.FlashBuffer[0] = 0;
  EXPECT_EQ(ops::DescribeUsage(state),
            "フラッシュの使用量 : 1 / 4096 ワード (1 %)\r\nEEPROMの使用量 : 0 / 512 バイト (0 %)");
  state.FlashBuffer[8189] = 0;
  state.EepromBuffer[511] = 0;
  EXPECT_EQ(ops::DescribeUsage(state),
            "フラッシュの使用量 : 4095 / 4096 ワード (99 %)\r\nEEPROMの使用量 : 512 / 512 バイト "
            "(100 %)");
}

// Phases.

Texts PhasesOf(SignRun& run, const ops::Entry& command) {
  run.Dialog.Phases.clear();
  run.Do(command);
  // A text can be shown twice in a phase.
  Texts phases = run.Dialog.Phases;
  phases.erase(std::ranges::unique(phases).begin(), phases.end());
  return phases;
}

TEST(Phases, AreCountedInEveryCommandThatHasMoreThanOne) {
  SignRun run;
  run.LoadSmallImage();
  EXPECT_EQ(
      PhasesOf(run, ops::Cmd_btn_program_Click),
      (Texts{"1 / 4 : チップのイレース", "2 / 4 : フラッシュの書き込み", "3 / 4 : EEPROMの書き込み",
             "4 / 4 : フラッシュのベリファイ", "4 / 4 : EEPROMのベリファイ"}));
  EXPECT_EQ(PhasesOf(run, ops::Cmd_btn_verify_Click),
            (Texts{"1 / 2 : フラッシュのベリファイ", "2 / 2 : EEPROMのベリファイ"}));
  EXPECT_EQ(PhasesOf(run, ops::Cmd_btn_read_Click),
            (Texts{"1 / 3 : フラッシュの読み出し", "2 / 3 : EEPROMの読み出し",
                   "3 / 3 : ヒューズとロックビットの読み出し"}));
  for (const ops::Entry& command : std::vector<ops::Entry>{
           ops::Cmd_btn_erase_Click, ops::cmdFuseRead_Click, ops::cmdFuseWrite_Click}) {
    EXPECT_EQ(PhasesOf(run, command), Texts{});
  }
}

// What belongs to the device that was selected before.

TEST(DevicePick, TakesTheOldSignatureAndTheOldTimeAwayWithoutATrace) {
  SignRun run;
  run.LoadSmallImage();
  run.Program();
  ASSERT_NE(run.PanelText(Panel::Signature), "");
  ASSERT_NE(run.PanelText(Panel::Elapsed), "");
  run.NewTrace();
  run.Do(ops::Combo_device_Click);
  EXPECT_EQ(run.PanelText(Panel::Signature), "");
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "");
  EXPECT_NE(run.PanelText(Panel::BoardVersion), "") << "the board is the same";
  EXPECT_EQ(run.NewTrace(), Texts{});
}

}  // namespace
}  // namespace fenwright::testing
