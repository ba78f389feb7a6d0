// What goes wrong during a Program run: the described texts, flags and bytes, and that the next
// run works without a restart.

#include "core/device_catalogue.h"
#include "link/socket_check.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/device_session.h"
#include "ops/outcome.h"
#include "ops/program_device.h"
#include "ops/samples.h"
#include "ops/verify_device.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

constexpr const char* kMismatch =
    "デバイス選択と、ソケット上のデバイスが一致しません。\r\n"
    "購入直後のデバイスを使用する場合は、チップイレース(<イレース>ボタン)を実行してください。";
constexpr const char* kNotSeated = "デバイスがソケットに正しくセットされていません。";
constexpr const char* kUnusable =
    "デバイスがソケットに正しくセットされていないか、プロテクトされています。"
    "プロテクトのときは、チップイレース([イレース]ボタン)を押してください。";

/// Replies of a whole run of SmallImage() with two EEPROM bytes: flash 10, EEPROM 7, verify 7 + 7.
constexpr int kRepliesOfSmallRun = kRepliesBeforeFlash + 31;

board::SimulatedBoardOptions FaultAfter(const char* kind, int replies, const char* rest = "") {
  return WithFaults(std::string(kind) + "@" + std::to_string(replies) + rest);
}

Bytes SmallImage() { return {0x0C, 0x94, 0x2A, 0x00, 0x55, 0xAA}; }

/// Runs Program on a small image; the trace of the run.
Texts RunOn(BoardRun& run) {
  run.LoadImage(SmallImage(), {0x11, 0x22});
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::Finished);
  EXPECT_FALSE(run.State.CommandRunning);
  EXPECT_EQ(run.Files.OpenWriters, 0);
  return run.NewTrace();
}

/// The same run again, a little later, on a line that works now.
void ExpectNextRunWorks(BoardRun& run) {
  run.Clock.Advance(2);
  RunOn(run);
  EXPECT_TRUE(ops::Succeeded(run.State)) << run.PanelText(Panel::Status);
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
}

/// A board on which Program has run, and the trace that this left.
struct Programmed : BoardRun {
  explicit Programmed(board::SimulatedBoardOptions options = {})
      : BoardRun(kTiny12, std::move(options)), Lines(RunOn(*this)) {}
  [[nodiscard]] std::ptrdiff_t Count(const std::string& text) const {
    return std::ranges::count(Lines, text);
  }
  [[nodiscard]] std::ptrdiff_t CountSent(char letter) const {
    return std::ranges::count(Wire, static_cast<std::uint8_t>(letter));
  }
  Texts Lines;
};

TEST(ProgramFailure, AFailedLinkCheckSendsNothingToTheChipAndShowsNoElapsedTime) {
  Programmed run(WithFaults("silent"));
  EXPECT_EQ(run.Wire, Hex("1B 3F 3F"));  // the port is closed before the escape byte
  EXPECT_EQ(run.Dialog.Text,
            "ライターを検出できませんでした。使用可能な通信ポートを設定してください。");
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "");
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_FALSE(run.State.Command.LinkReady);
}

TEST(ProgramFailure, AMismatchedChipIsNeitherErasedNorProgrammed) {
  BoardRun run(kTiny12, {.Chip = "AT90S2313"});
  run.Chip().SetFlashWord(0, 0x1234);
  const Texts trace = RunOn(run);
  Bytes wire = BoardRun::LinkCheckBytes(0x55);
  const Bytes session = Hex("'APsL'");
  wire.insert(wire.end(), session.begin(), session.end());
  EXPECT_EQ(run.Wire, wire);
  EXPECT_TRUE(run.State.SignatureFailed);
  EXPECT_EQ(run.Dialog.Text, kMismatch);
  EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(run.PanelText(Panel::Signature), "1E:91:01");
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "");
  EXPECT_EQ(run.Chip().FlashWord(0), 0x1234);
  EXPECT_THAT(trace, Contains(kMismatch));
  EXPECT_EQ(run.Dialog.Detail,
            "ソケットには AT90S2313 があります。\r\nデバイスには何も書き込んでいません。");
  EXPECT_EQ(trace.back(), run.Dialog.Detail) << "users send the trace";
}

TEST(ProgramFailure, AChipOfTheSameSizeWithAnotherNameIsAMismatch) {
  Programmed run({.Chip = "ATtiny15L"});
  EXPECT_EQ(run.Dialog.Text, kMismatch);
}

TEST(ProgramFailure, AnAttiny11InTheSocketIsAlwaysAMismatch) {
  Programmed run({.Chip = "ATtiny11L"});
  EXPECT_EQ(run.PanelText(Panel::Signature), "1E:90:04");
  EXPECT_EQ(run.Dialog.Text, kMismatch);
}

TEST(ProgramFailure, AnEmptySocketGetsTheMessageThatTheDeviceIsNotSeated) {
  BoardRun run(kTiny12);
  run.Port.Board().InsertChip("empty");
  RunOn(run);
  EXPECT_EQ(run.PanelText(Panel::Signature), "FF:FF:FF");
  EXPECT_EQ(run.Dialog.Text, kNotSeated);
  EXPECT_TRUE(run.State.SignatureFailed);
}

TEST(ProgramFailure, AProtectedChipReadsAsAnotherChipAndIsNotErased) {
  BoardRun run(kTiny12);
  run.Chip().SetLockBits(0);
  RunOn(run);
  EXPECT_EQ(run.PanelText(Panel::Signature), "00:01:02");
  EXPECT_EQ(run.Dialog.Text, kMismatch);
  EXPECT_EQ(run.Chip().LockBits(), 0U);
}

TEST(ProgramFailure, ADeviceCodeThatTheBoardRefusesIsShownAndThePortIsClosed) {
  // The fourth reply is that of "T".
  Programmed run(FaultAfter("flip", 4));
  const std::string refused =
      "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T \r\n"
      "プログラマは、選択したマイコンを認識できませんでした。";
  EXPECT_THAT(run.Lines, Contains(refused));
  EXPECT_EQ(run.Dialog.Text, refused);
  EXPECT_TRUE(run.Dialog.ButtonVisible);
  EXPECT_EQ(run.Wire, BoardRun::LinkCheckBytes(0x55));
  EXPECT_FALSE(run.Port.PortOpen());
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, ALostExtendAcknowledgementLeavesTheSignatureResultAsItWas) {
  // The session ends before it looks at the signature, so the result of the session before it
  // stands, and the run goes on without an erase: that is the procedure.
  BoardRun run(kTiny12, FaultAfter("drop", 5));
  run.Chip().SetFlashWord(0, 0x0000);
  const Texts trace = RunOn(run);
  EXPECT_FALSE(run.State.SignatureFailed);
  EXPECT_FALSE(run.State.Command.Erased);
  EXPECT_THAT(trace, Contains("ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A"));
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : NG / EEPROM : OK");
  EXPECT_FALSE(ops::Succeeded(run.State));
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, ASilentSignatureIsAskedFiveTimesAndThenReported) {
  Programmed run(WithFaults("drop@7 drop@8 drop@9 drop@10 drop@11"));
  EXPECT_EQ(run.CountSent('s'), 5);
  EXPECT_GT(run.Clock.Elapsed(), 5.0);
  EXPECT_EQ(run.Count("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Signature bytes s"), 1);
  EXPECT_EQ(run.PanelText(Panel::Signature), "--:--:--");
  EXPECT_TRUE(run.State.SignatureFailed);
  EXPECT_EQ(run.Wire.back(), 'L');
  EXPECT_EQ(run.CountSent('e'), 0);
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, ASignatureThatIsAnsweredAtTheFifthAttemptIsGood) {
  Programmed run(WithFaults("drop@7 drop@8 drop@9 drop@10"));
  EXPECT_TRUE(ops::Succeeded(run.State));
}

TEST(ProgramFailure, AFailedEraseIsReportedAndProgrammingGoesOn) {
  // Reply 11 is that of "e".
  Programmed run(FaultAfter("flip", 11));
  EXPECT_THAT(run.Lines, Contains("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Chip Erase e"));
  EXPECT_EQ(run.Count("チップ イレース失敗"), 2);  // status and dialog
  EXPECT_THAT(run.Lines, Contains("ＥＥＰＲＯＭデータメモリ プログラム中....."));
}

TEST(ProgramFailure, AFailedSecondSignatureSessionStopsBeforeTheFirstWord) {
  // Reply 13 is that of the second session's "A".
  Programmed run(FaultAfter("drop", 13));
  EXPECT_THAT(run.Lines, Contains("プログラミングを中止しました。"));
  EXPECT_EQ(run.PanelText(Panel::Status), "プログラミングを中止しました。");
  EXPECT_EQ(run.Dialog.Text, "通信エラーが発生しました。");
  EXPECT_FALSE(run.Dialog.BarVisible);
  EXPECT_TRUE(run.Dialog.ButtonVisible);
  EXPECT_EQ(run.CountSent('c'), 0);
  EXPECT_EQ(run.Dialog.Detail,
            "デバイスはイレースされただけで、何も書き込まれていません。もう一度プログラムしてくださ"
            "い。");
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, AnUnansweredFlashFrameEndsTheOperationSilently) {
  Programmed run(FaultAfter("drop", kRepliesBeforeFlash + 1));
  EXPECT_EQ(run.Count("ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A"), 1);
  EXPECT_THAT(run.Lines, Not(Contains("フラッシュプログラムメモリ プログラム失敗")));
  EXPECT_THAT(run.Lines, Not(Contains("ＥＥＰＲＯＭデータメモリ プログラム中.....")));
  // The dialog may not stay behind without a button, saying that work goes on.
  EXPECT_FALSE(run.Dialog.IsBusy());
  EXPECT_EQ(run.Dialog.Text, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A");
  EXPECT_EQ(run.Wire.back(), 'A');
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, AFailedFlashPhaseRunsToItsEndThenEepromAndVerifyFollow) {
  // Reply 20 is that of the first word's low byte.
  Programmed run(FaultAfter("drop", kRepliesBeforeFlash + 4));
  EXPECT_EQ(run.Count("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Program Memory c"), 1);
  EXPECT_EQ(run.Count("フラッシュプログラムメモリ プログラム失敗"), 2);
  // The first word's high byte is not sent; the other two words are written, one word too early.
  EXPECT_EQ(run.CountSent('C'), 2);
  EXPECT_THAT(run.Lines, Contains("ＥＥＰＲＯＭデータメモリ プログラム中....."));
  EXPECT_EQ(run.Chip().EepromByte(1), 0x22);
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : NG / EEPROM : OK");
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, AWrongLowByteReplyStillWritesTheHighByte) {
  Programmed run(FaultAfter("flip", kRepliesBeforeFlash + 4));
  EXPECT_EQ(run.Count("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c"), 1);
  EXPECT_EQ(run.CountSent('C'), 3);
  EXPECT_EQ(run.Count("フラッシュプログラムメモリ プログラム失敗"), 2);
  // Everything was written all the same, so the verify finds no difference.
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
}

TEST(ProgramFailure, AFailedEepromPhaseIsReportedAndTheVerifyEndsAtItsFirstFrame) {
  // Flash phase: A P a, six word halves, L: replies 17 to 26. EEPROM: A P a D ...
  Programmed run(FaultAfter("flip", kRepliesBeforeFlash + 10 + 4));
  EXPECT_EQ(run.Count("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Data Memory D"), 1);
  EXPECT_EQ(run.Count("ＥＥＰＲＯＭデータメモリ プログラム失敗"), 2);
  // The flag still stands, so the verify goes no further than its first "A".
  EXPECT_EQ(run.Count("フラッシュメモリ ベリファイ中....."), 1);
  EXPECT_EQ(run.Wire.back(), 'A');
  EXPECT_FALSE(run.Files.Files.contains("/app/avrvfy.txt"));
  EXPECT_FALSE(run.Dialog.IsBusy());
  EXPECT_FALSE(ops::Succeeded(run.State));
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, AnUnansweredEepromFrameEndsTheOperationSilentlyAndWithoutAVerify) {
  for (const char* kind : {"drop", "flip"}) {
    SCOPED_TRACE(kind);
    Programmed run(FaultAfter(kind, kRepliesBeforeFlash + 10 + 1));
    EXPECT_EQ(Bytes(run.Wire.end() - 2, run.Wire.end()), Hex("'LA'")) << "one frame is tried";
    EXPECT_THAT(run.Lines, Not(Contains("ＥＥＰＲＯＭデータメモリ プログラム中.....")));
    EXPECT_THAT(run.Lines, Not(Contains("ＥＥＰＲＯＭデータメモリ プログラム失敗")));
    EXPECT_THAT(run.Lines, Not(Contains("フラッシュメモリ ベリファイ中.....")));
    EXPECT_FALSE(run.Files.Files.contains("/app/avrvfy.txt"));
    ExpectNextRunWorks(run);
  }
}

TEST(ProgramFailure, ALostWordInTheVerifyEndsAsACommunicationError) {
  // Flash 10, EEPROM A P a D a D L = 7 replies, then the verify: A P a R ...
  Programmed run(FaultAfter("drop", kRepliesBeforeFlash + 17 + 4));
  EXPECT_EQ(run.Count("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R"), 1);
  EXPECT_EQ(run.Count("フラッシュメモリ ベリファイ失敗"), 2);
  EXPECT_EQ(run.Count("ベリファイ　通信エラー"), 2);
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　通信エラー");
  // The other words are still read; the EEPROM phase ends at its frame.
  EXPECT_EQ(run.CountSent('R'), 3);
  EXPECT_EQ(run.Wire.back(), 'A');
  EXPECT_EQ(run.Files.Files["/app/avrvfy.txt"], "Flash Program memory address verify\r\n\r\n");
  EXPECT_EQ(run.Views.Paths.count(View::Verify), 0U);
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, TheReportIsOpenedAsAFileOfTheProgramsOwn) {
  Programmed run(WithFaults("lie@2"));
  EXPECT_EQ(run.Files.OwnFiles, std::vector<std::string>{"/app/avrvfy.txt"});
}

TEST(ProgramFailure, AWriteThatLiesIsFoundByTheVerify) {
  Programmed run(WithFaults("lie@2"));
  EXPECT_EQ(run.FileText("avrvfy.txt"),
            "Flash Program memory address verify\r\n\r\n"
            "PROGRAM Addr(word) = 0000  Original = 940C   NG = FF0C\r\n"
            "\r\nEEPROM data memory address verify\r\n\r\n");
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : NG / EEPROM : OK");
  EXPECT_TRUE(run.State.FlashNG);
  EXPECT_FALSE(run.State.EepromNG);
  ExpectNextRunWorks(run);
}

TEST(ProgramFailure, AStuckEepromBitIsFoundByTheVerify) {
  Programmed run(WithFaults("stuck@eeprom:1:0=1"));
  EXPECT_EQ(run.FileText("avrvfy.txt"),
            "Flash Program memory address verify\r\n\r\n"
            "\r\nEEPROM data memory address verify\r\n\r\n"
            "EEPROM  Addr(byte) = 0001  Original = 22   NG = 23\r\n");
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : NG");
  EXPECT_EQ(run.Count("ベリファイ　FLASH : OK / EEPROM : NG"), 2);
  EXPECT_TRUE(run.Dialog.ButtonFocused);
}

TEST(ProgramFailure, BothMemoriesBadGiveTheFourthResult) {
  Programmed run(WithFaults("stuck@eeprom:0:0=0 stuck@flash:0x1:15=1"));
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : NG / EEPROM : NG");
  EXPECT_EQ(run.Dialog.Detail,
            "一致しない箇所 : フラッシュ 1 ワード、EEPROM 1 バイト。\r\n"
            "デバイスから読み出した内容がファイルと一致しません。違いはベリファイ結果にあります。"
            "イレースしてから、もう一度プログラムしてください。");
}

TEST(ProgramFailure, TheVerifyViewIsClearedAndThenLoaded) {
  Programmed run;
  const std::size_t calls = run.Views.Calls.size();
  ASSERT_GE(calls, 2U);
  EXPECT_EQ(run.Views.Calls[calls - 2].first, "clear");
  EXPECT_EQ(run.Views.Calls[calls - 1], (std::pair{std::string("load"), View::Verify}));
  EXPECT_EQ(run.Views.Paths[View::Verify], "/app/avrvfy.txt");
}

TEST(ProgramFailure, AChipThatWasNotErasedIsNoSuccessEvenWithoutADifference) {
  // Reply 5 is that of the first session's "A", reply 11 that of "e".
  for (const char* fault : {"drop@5", "drop@11", "flip@11"}) {
    SCOPED_TRACE(fault);
    BoardRun run(kTiny12, WithFaults(fault));
    run.Chip().SetEepromByte(40, 0x12);
    RunOn(run);
    EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
    EXPECT_FALSE(ops::Succeeded(run.State));
    EXPECT_THAT(run.Dialog.Detail, HasSubstr("イレースを確認できなかった"));
    EXPECT_EQ(run.ChipState(),
              "verified, but the erase was not confirmed, so old data may be left beside it: "
              "erase and program again");
  }
}

TEST(ProgramFailure, ANoticeThatTheUserHasClosedDoesNotComeBack) {
  BoardRun run(kTiny12, {.Chip = "AT90S2313"});
  run.Events.OnTurn = [&run] {
    if (run.Dialog.Mode == MessageMode::Notice) run.Dialog.Close();
  };
  RunOn(run);
  EXPECT_FALSE(run.Dialog.Loaded);
}

TEST(ProgramFailure, ALargeImageOnAPortThatGoesCostsNoTimePerWord) {
  BoardRun run("AT90S8515", {.Baud = 0, .Faults = {MakeFault("hangup@60")}});
  run.LoadImage(Bytes(8192, 0x21), {});
  const double before = run.Clock.Elapsed();
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_LT(run.Clock.Elapsed() - before, 2.0);
}

TEST(ProgramFailure, APortThatGoesInTheMiddleEndsEveryWaitAtOnce) {
  Programmed run(WithFaults("hangup@30"));
  EXPECT_LT(run.Clock.Elapsed(), 2.0);
  EXPECT_FALSE(ops::Succeeded(run.State));
  EXPECT_THAT(run.Lines, Contains("フラッシュプログラムメモリ プログラム失敗"));
  EXPECT_FALSE(run.Dialog.IsBusy());
  run.Port.Board().PlugIn();
  ExpectNextRunWorks(run);
}

/// Whatever reply is lost, wrong, late, split or doubled: the run ends, says so or succeeds, and
/// the next one works.
TEST(ProgramFailure, AnyReplyMayFailInAnyWayAndTheNextRunWorks) {
  for (const char* kind : {"drop", "flip", "late", "split", "double"}) {
    for (int reply = 1; reply <= kRepliesOfSmallRun; ++reply) {
      SCOPED_TRACE(std::string(kind) + " " + std::to_string(reply));
      const bool timed = std::string(kind) == "late" || std::string(kind) == "split";
      Programmed run(FaultAfter(kind, reply, timed ? ":1200" : ""));
      EXPECT_FALSE(run.Dialog.IsBusy());
      EXPECT_TRUE(run.Dialog.Loaded);
      EXPECT_FALSE(run.Dialog.Text.empty());
      EXPECT_FALSE(run.Dialog.Detail.empty());
      EXPECT_EQ(ops::Succeeded(run.State), run.Dialog.Detail == ops::DescribeUsage(run.State));
      if (ops::Succeeded(run.State)) {
        EXPECT_TRUE(run.State.Command.Erased);
      }
      ExpectNextRunWorks(run);
    }
  }
}

TEST(ProgramFailure, TheLineMayHangUpAtAnyByteAndTheNextRunWorks) {
  BoardRun whole(kTiny12);
  RunOn(whole);
  for (int byte = 1; byte <= static_cast<int>(whole.Wire.size()); ++byte) {
    SCOPED_TRACE(byte);
    Programmed run(FaultAfter("hangup", byte));
    EXPECT_LT(run.Clock.Elapsed(), 5.0);
    EXPECT_FALSE(run.Dialog.IsBusy());
    run.Port.Board().PlugIn();
    ExpectNextRunWorks(run);
  }
}

// The signature check on its own.

class SignatureCheck : public Test {
 protected:
  /// Reads a signature given as the reply of "s"; the error flag.
  std::int16_t Read(const char* device, const std::string& reply, int attempts = 1) {
    run_ = std::make_unique<ScriptedRun>();
    run_->Select(run_->Context, device);
    for (int i = 0; i < attempts; ++i) run_->Port.Expect("'s'", reply);
    std::int16_t error = 0;
    words_ = kEarlierWords;
    link::ReadSignature(run_->Context, words_, error);
    return error;
  }
  static constexpr std::int16_t kEarlierWords = 77;
  std::unique_ptr<ScriptedRun> run_;
  std::int16_t words_ = kEarlierWords;
};

TEST_F(SignatureCheck, ShowsVendorFamilyAndPartInThisOrder) {
  EXPECT_EQ(Read("AT90S2313", "01 91 1E"), 0);
  EXPECT_EQ(run_->PanelText(Panel::Signature), "1E:91:01");
  EXPECT_EQ(run_->State.MessageText, "1E:91:01");
  EXPECT_EQ(words_, 1024);
  EXPECT_FALSE(run_->Dialog.Loaded);
}

TEST_F(SignatureCheck, MapsTheFamilyByteToTheFlashSize) {
  const std::vector<std::pair<std::string, int>> sizes{{"90", 512},  {"91", 1024}, {"92", 2048},
                                                       {"93", 4096}, {"97", 1024}, {"94", 512},
                                                       {"01", 512}};
  for (const auto& [family, words] : sizes) {
    SCOPED_TRACE(family);
    Read("AT90S2313", "01 " + family + " 1E");
    EXPECT_EQ(words_, words);
  }
}

TEST_F(SignatureCheck, AChipThatGivesNoneIsTakenFor512WordsWhateverTheOneBefore) {
  EXPECT_EQ(Read("AT90S2313", "", 5), 1);
  EXPECT_EQ(words_, 512);
}

TEST_F(SignatureCheck, TheSessionKeepsTheSizeThatTheSignatureStandsFor) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.State.DetectedFlashWords = kEarlierWords;
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'s'", "01 92 1E").Expect("'L'", "0D");
  link::CheckSocketDevice(run.Context);
  EXPECT_EQ(run.State.DetectedFlashWords, 2048);
}

TEST_F(SignatureCheck, ItsResultIsTakenBeforeProgrammingModeIsLeft) {
  // A failed "L" is no failed signature, though the flag is up.
  for (const char* reply : {"", "3F"}) {
    SCOPED_TRACE(reply);
    ScriptedRun run;
    run.Select(run.Context, "AT90S2313");
    run.State.SignatureFailed = true;
    run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'s'", "01 91 1E").Expect("'L'", reply);
    link::CheckSocketDevice(run.Context);
    EXPECT_EQ(run.State.LinkError, 1);
    EXPECT_FALSE(run.State.SignatureFailed);
  }
}

TEST_F(SignatureCheck, ItsResultStandsWhileProgrammingModeIsLeft) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'s'", "01 90 1E").Expect("'L'", "0D");
  run.Events.OnTurn = [&run] {
    if (run.Port.Sent.back() != 'L') return;
    EXPECT_TRUE(run.State.SignatureFailed);
  };
  link::CheckSocketDevice(run.Context);
  EXPECT_TRUE(run.State.SignatureFailed);
}

TEST_F(SignatureCheck, AFamilyOf97FitsTheSizeButNamesNoDevice) {
  EXPECT_EQ(Read("AT90S2313", "01 97 1E"), 1);
  EXPECT_EQ(run_->Dialog.Text, kMismatch);
}

TEST_F(SignatureCheck, AllZeroIsUnusableAndIsAskedFiveTimes) {
  EXPECT_EQ(Read("AT90S2313", "00 00 00", 5), 1);
  EXPECT_EQ(run_->Dialog.Text, kUnusable);
  EXPECT_EQ(run_->Dialog.Mode, MessageMode::Notice);
}

TEST_F(SignatureCheck, AnFfInAnyPlaceIsADeviceThatIsNotSeated) {
  for (const char* reply : {"FF 91 1E", "01 FF 1E", "01 91 FF", "FF FF FF"}) {
    SCOPED_TRACE(reply);
    EXPECT_EQ(Read("AT90S2313", reply), 1);
    EXPECT_EQ(run_->Dialog.Text, kNotSeated);
  }
}

TEST_F(SignatureCheck, AZeroFamilyByteAloneIsAskedAgainAndThenAMismatch) {
  EXPECT_EQ(Read("AT90S2313", "01 00 1E", 5), 1);
  EXPECT_EQ(run_->Dialog.Text, kMismatch);
}

TEST_F(SignatureCheck, ASecondAttemptIsMadeOnlyWhileTheFamilyByteIsZero) {
  run_ = std::make_unique<ScriptedRun>();
  run_->Select(run_->Context, "AT90S2313");
  run_->Port.Expect("'s'", "00 00 00").Expect("'s'", "01 91 1E");
  std::int16_t error = 0;
  link::ReadSignature(run_->Context, words_, error);
  EXPECT_EQ(error, 0);
}

TEST_F(SignatureCheck, AnotherSizeIsAMismatchBeforeTheNameIsLookedAt) {
  EXPECT_EQ(Read("AT90S2313", "01 90 1E"), 1);
  EXPECT_EQ(run_->Dialog.Text, kMismatch);
}

TEST_F(SignatureCheck, EveryDeviceAcceptsItsOwnSignatureAndNoOther) {
  for (const core::DeviceEntry& selected : core::DeviceCatalogue()) {
    for (const core::DeviceEntry& found : core::DeviceCatalogue()) {
      const std::string reply = ToHex(Bytes{found.Signature[1], found.Signature[0], 0x1E});
      const bool same = selected.Signature == found.Signature;
      EXPECT_EQ(Read(std::string(selected.DisplayName).c_str(), reply), same ? 0 : 1)
          << selected.DisplayName << " / " << found.DisplayName;
    }
  }
}

TEST_F(SignatureCheck, TheSessionRestsFiftyMillisecondsBeforeTheSignature) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'s'", "01 91 1E").Expect("'L'", "0D");
  const double before = run.Clock.Elapsed();
  link::CheckSocketDevice(run.Context);
  // 50 ms of settling, 100 ms after leaving programming mode, and the replies' milliseconds.
  EXPECT_GT(run.Clock.Elapsed() - before, 0.150);
  EXPECT_LT(run.Clock.Elapsed() - before, 0.165);
}

TEST_F(SignatureCheck, AFrameWithoutAcknowledgementSendsNothingElse) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.State.SignatureFailed = true;
  run.Port.Expect("'A'", "");
  link::CheckSocketDevice(run.Context);
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_TRUE(run.State.SignatureFailed);
}

TEST(Erase, AFrameWithoutAcknowledgementSendsNothingElseAndShowsNoProgress) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.Port.Expect("'A'", "3F");
  ops::EraseChip(run.Context);
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_TRUE(run.Dialog.Shown.empty());
}

TEST(Erase, RefreshesTheEepromDumpOnlyAndClosesTheDialog) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.State.EepromBuffer[0] = 0x77;
  run.Files.Writes.clear();
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'e'", "0D").Expect("'L'", "0D");
  ops::EraseChip(run.Context);
  EXPECT_EQ(run.State.LinkError, 0);
  EXPECT_EQ(run.State.EepromBuffer[0], 0x77);
  EXPECT_EQ(run.Files.Writes["/app/avreep.txt"], 1);
  EXPECT_EQ(run.Files.Writes["/app/avrhex.txt"], 0);
  EXPECT_FALSE(run.Dialog.Loaded);
  EXPECT_EQ(run.Dialog.Shown.front(),
            (std::pair{std::string("チップ イレース中....."), MessageMode::Busy}));
}

TEST(Erase, LeavesProgrammingModeAfterAFailure) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'e'", "").Expect("'L'", "0D");
  ops::EraseChip(run.Context);
  EXPECT_EQ(run.Dialog.Text, "チップ イレース失敗");
  EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
}

TEST(Erase, ThatFailsRefreshesNoViewAndItsMessageStays) {
  ScriptedRun run;
  run.Select(run.Context, "AT90S2313");
  run.TakeJournal();
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'e'", "3F").Expect("'L'", "0D");
  ops::EraseChip(run.Context);
  const Journal journal = run.TakeJournal();
  EXPECT_THAT(journal, Not(Contains("close dialog")));
  EXPECT_THAT(journal, Not(Contains(StartsWith("write "))));
  EXPECT_THAT(journal, Not(Contains(StartsWith("load "))));
  EXPECT_TRUE(run.Dialog.Loaded);
  EXPECT_EQ(run.Dialog.Text, "チップ イレース失敗");
}

// Verifying on its own.

TEST(Verify, OfAProgramRunAfterOneOnItsOwnChecksNoSignature) {
  Programmed first;
  BoardRun run(kTiny12);
  run.LoadImage(SmallImage(), {0x11, 0x22});
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  EXPECT_TRUE(run.State.VerifyStandalone);
  run.Wire.clear();
  RunOn(run);
  EXPECT_FALSE(run.State.VerifyStandalone);
  EXPECT_EQ(run.Wire, first.Wire);
}

TEST(Verify, OfABlankFlashReadsNoWordAndCanStillBeGood) {
  BoardRun run(kTiny12);
  run.Port.Open();
  run.LoadImage({}, {0x01});
  run.Chip().SetEepromByte(0, 0x01);
  run.Wire.clear();
  ops::VerifyDevice(run.Context);
  EXPECT_EQ(std::ranges::count(run.Wire, std::uint8_t{'R'}), 0);
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
}

TEST(Verify, OnItsOwnChecksTheSignatureFirst) {
  BoardRun run(kTiny12, {.Chip = "AT90S2313"});
  run.Port.Open();
  run.State.VerifyStandalone = true;
  run.State.FlashBuffer[0] = 0;
  ops::VerifyDevice(run.Context);
  EXPECT_EQ(run.Wire, Hex("'APsL'"));
  EXPECT_EQ(run.PanelText(Panel::Status), "ベリファイを中止しました。");
  EXPECT_FALSE(run.Files.Files.contains("/app/avrvfy.txt"));
}

TEST(Verify, OnItsOwnComparesTheUsedPartOfTheEeprom) {
  BoardRun run(kTiny12);
  run.Port.Open();
  run.State.VerifyStandalone = true;
  run.LoadImage({}, {0xFF, 0x02});
  run.Chip().SetEepromByte(0, 0x33);
  run.Chip().SetEepromByte(1, 0x02);
  run.Chip().SetEepromByte(2, 0x44);
  ops::VerifyDevice(run.Context);
  // Byte 0 is blank in the buffer and still compared; byte 2 lies beyond the used part.
  EXPECT_EQ(run.FileText("avrvfy.txt"),
            "Flash Program memory address verify\r\n\r\n"
            "\r\nEEPROM data memory address verify\r\n\r\n"
            "EEPROM  Addr(byte) = 0000  Original = FF   NG = 33\r\n");
}

TEST(Verify, ReportsBothBytesOfAWordAndPadsAddresses) {
  BoardRun run(kTiny12);
  run.Port.Open();
  Bytes flash(2 * 0x1B, 0x00);
  flash[2 * 0x1A] = 0x0C;
  flash[2 * 0x1A + 1] = 0x94;
  run.LoadImage(flash, {});
  for (unsigned word = 0; word < 0x1A; ++word) run.Chip().SetFlashWord(word, 0);
  run.Chip().SetFlashWord(0x1A, 0x0F0C);
  ops::VerifyDevice(run.Context);
  EXPECT_NE(run.FileText("avrvfy.txt")
                .find("\r\nPROGRAM Addr(word) = 001A  Original = 940C   NG = 0F0C\r\n"),
            std::string::npos);
}

// Progress, the dialog's buttons, stops and refused files.

TEST(ProgramProgress, PassesEveryIndexOfAPhaseAndItsRange) {
  RecordedBoardRun run(kTiny12);
  run.LoadImage(SmallImage(), {0x11, 0x22});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  Journal shown;
  std::ranges::copy_if(run.Recorded, std::back_inserter(shown),
                       [](const std::string& step) { return step.starts_with("progress "); });
  const Journal flash{"progress 0 of 3", "progress 1 of 3", "progress 2 of 3"};
  const Journal eeprom{"progress 0 of 2", "progress 1 of 2"};
  EXPECT_EQ(shown, Joined({flash, eeprom, flash, eeprom}));
}

TEST(ProgramProgress, WindowEventsRunAtEveryStep) {
  for (const ops::Entry& command :
       {ops::Entry(ops::Cmd_btn_program_Click), ops::Entry(ops::Cmd_btn_verify_Click),
        ops::Entry(ops::Cmd_btn_read_Click)}) {
    RecordedBoardRun run(kTiny12, {.Baud = 0});
    // A blank byte is sent in no exchange: its step is the only one with events.
    run.LoadImage(SmallImage(), {0x11, 0xFF, 0x22});
    ops::RunCommand(run.Context, command);
    int steps = 0;
    for (std::size_t i = 0; i + 1 < run.Recorded.size(); ++i) {
      if (!run.Recorded[i].starts_with("progress ")) continue;
      ++steps;
      ASSERT_EQ(run.Recorded[i + 1], "turn") << run.Recorded[i];
    }
    EXPECT_GE(steps, 6);
  }
}

TEST(ProgramProgress, PressingCancelOnlyClosesTheDialogAndTheRunGoesOn) {
  BoardRun plain(kTiny12);
  plain.LoadImage(SmallImage(), {0x11});
  ops::RunCommand(plain.Context, ops::Cmd_btn_program_Click);

  BoardRun run(kTiny12);
  run.LoadImage(SmallImage(), {0x11});
  run.Events.OnTurn = [&run] {
    run.State.CancelRequested = 2;
    run.Dialog.Close();
  };
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(run.Wire, plain.Wire);
  EXPECT_TRUE(ops::Succeeded(run.State));
  EXPECT_EQ(run.State.CancelRequested, 2);
}

TEST(ProgramGuard, NoOtherCommandStartsDuringARun) {
  BoardRun run(kTiny12);
  run.LoadImage(SmallImage(), {});
  int refused = 0;
  run.Events.OnTurn = [&] {
    refused +=
        ops::RunCommand(run.Context, ops::Cmd_btn_program_Click) == CommandEnding::Refused ? 1 : 0;
    EXPECT_EQ(ops::RunCommand(run.Context, ops::Combo_device_Click), CommandEnding::Refused);
    EXPECT_EQ(ops::RunCommand(run.Context, ops::mnuReLoad_Click), CommandEnding::Refused);
  };
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_GT(refused, 10);
  EXPECT_TRUE(ops::Succeeded(run.State));
}

/// Requests a stop once `bytes` bytes have been sent.
void StopAfter(BoardRun& run, std::size_t bytes) {
  run.Events.OnTurn = [&run, bytes] {
    if (run.Wire.size() >= bytes) run.State.StopRequested = true;
  };
}

TEST(ProgramStop, LeavesProgrammingModeAndSaysWhatStateTheChipIsIn) {
  BoardRun run(kTiny12);
  run.LoadImage(Bytes(1000, 0x21), {});
  // 20 bytes come before the flash phase, 5 open it, 4 a word: stop within the eleventh word.
  StopAfter(run, 7 + 4 + 4 + 4 + 5 + 10 * 4 + 2);
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::Stopped);
  EXPECT_EQ(run.Wire.back(), 'L');
  EXPECT_FALSE(run.Port.Board().Protocol().InProgrammingMode());
  EXPECT_EQ(run.ChipState(),
            "flash written up to word 0x0009, more may have been written, not verified: erase and "
            "program "
            "again");
  EXPECT_FALSE(run.Dialog.Loaded);
  EXPECT_FALSE(run.State.CommandRunning);
}

TEST(ProgramStop, NeverCutsAnExchangeInTwo) {
  BoardRun whole(kTiny12);
  whole.LoadImage(SmallImage(), {0x11});
  ops::RunCommand(whole.Context, ops::Cmd_btn_program_Click);
  for (std::size_t bytes = 1; bytes < whole.Wire.size(); ++bytes) {
    SCOPED_TRACE(bytes);
    BoardRun run(kTiny12);
    run.LoadImage(SmallImage(), {0x11});
    StopAfter(run, bytes);
    const CommandEnding ending = ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
    EXPECT_FALSE(run.Port.Board().Protocol().InProgrammingMode());
    // The board is not in the middle of a command: it answers the identification at once.
    run.Events.OnTurn = {};
    ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
    EXPECT_TRUE(ops::Succeeded(run.State));
    if (ending == CommandEnding::Stopped) continue;
    EXPECT_GE(bytes, whole.Wire.size() - 1);
  }
}

TEST(ProgramStop, BeforeAnythingWasSentToTheChipSaysSo) {
  BoardRun run(kTiny12);
  run.LoadImage(SmallImage(), {});
  run.State.StopRequested = true;
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::Stopped);
  EXPECT_EQ(run.ChipState(), "the chip was not changed");
}

TEST(ProgramFiles, ATraceThatTheDiscRefusesEndsTheRunAndLeavesProgrammingMode) {
  BoardRun run(kTiny12);
  run.LoadImage(SmallImage(), {});
  run.Events.OnTurn = [&run] {
    if (run.Port.Board().Protocol().InProgrammingMode()) {
      run.Files.Refused = {"/app/_debug_avr.txt"};
    }
  };
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::FileError);
  EXPECT_FALSE(run.Port.Board().Protocol().InProgrammingMode());
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run.Boxes.Boxes[0].Icon, MessageIcon::Critical);
  EXPECT_THAT(run.Boxes.Boxes[0].Text, HasSubstr("/app/_debug_avr.txt"));

  run.Events.OnTurn = {};
  run.Files.Refused.clear();
  run.LoadImage(SmallImage(), {});
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::Finished);
  EXPECT_TRUE(ops::Succeeded(run.State));
}

TEST(ProgramFiles, AReportThatDoesNotFitTheDiscEndsTheRunWithTheFileClosed) {
  BoardRun run(kTiny12, WithFaults("lie@2"));
  run.LoadImage(SmallImage(), {});
  run.Files.Capacity = 60;
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::FileError);
  EXPECT_EQ(run.Files.OpenWriters, 0);
  EXPECT_FALSE(run.Port.Board().Protocol().InProgrammingMode());
  EXPECT_THAT(run.Boxes.Boxes.at(0).Text, HasSubstr("/app/avrvfy.txt"));
}

}  // namespace
}  // namespace fenwright::testing
