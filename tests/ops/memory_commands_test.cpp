// The Read, Verify and Erase commands: wire, texts, flags, and what they leave behind.

#include "core/device_catalogue.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/read_device.h"
#include "ops/samples.h"
#include "support/traces.h"

namespace fenwright::testing {
namespace {

void FillChip(board::Chip& chip, const Bytes& flash, const Bytes& eeprom) {
  for (std::uint32_t word = 0; word < flash.size() / 2; ++word) {
    const std::size_t low = 2 * std::size_t{word};
    chip.SetFlashWord(word, static_cast<std::uint16_t>(flash[low] | flash[low + 1] << 8));
  }
  for (std::uint32_t byte = 0; byte < eeprom.size(); ++byte) chip.SetEepromByte(byte, eeprom[byte]);
}

/// What reading the fuse and lock bits sends behind the memories: the check of the chip, and each
/// byte in a programming mode of its own.
Bytes FuseReadBytes(const std::string& device) {
  static const std::map<std::string, const char*> rows{
      {"ATtiny12L", "'APrLAPFLAPoL'"},
      {"ATtiny15L", "'APrLAPFLAPoL'"},
      {"ATtiny26L", "'APrLAP:' 58 08 00 'LAPFLAPoL'"},
      {"AT90S2323", "'APFL'"},
      {"AT90S2343", "'APFL'"},
      {"AT90S1200 (外部ｸﾛｯｸ)", ""},
      {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", ""},
      {"AT90S2313", ""},
      {"AT90S4433", "'APrLAPFL'"},
      {"AT90S4414", ""},
      {"AT90S4434", "'APFL'"},
      {"AT90S8515", ""},
      {"AT90S8535", "'APFL'"}};
  return Joined({Hex("'APsL'"), Hex(rows.at(device))});
}

class OnEveryDevice : public TestWithParam<core::DeviceEntry> {
 protected:
  [[nodiscard]] std::string Name() const { return std::string(GetParam().DisplayName); }
  [[nodiscard]] std::size_t Words() const {
    return static_cast<std::size_t>(GetParam().FlashWords);
  }
  [[nodiscard]] std::size_t EepromBytes() const {
    return static_cast<std::size_t>(GetParam().EepromBytes);
  }
  /// What the link check, the signature session and reading both memories send.
  [[nodiscard]] Bytes MemoryBytes() const {
    Bytes eeprom;
    for (std::size_t i = 0; i < EepromBytes(); ++i) {
      eeprom.insert(eeprom.end(), {'a', static_cast<std::uint8_t>(i / 256),
                                   static_cast<std::uint8_t>(i % 256), 'd'});
    }
    return Joined({BoardRun::LinkCheckBytes(GetParam().DeviceCode), Hex("'APsLAPa' 00 00"),
                   Bytes(Words(), 'R'), Hex("'LAP'"), eeprom, Hex("'L'")});
  }
};

TEST_P(OnEveryDevice, ReadSendsTheDescribedBytesAndFillsBothBuffers) {
  BoardRun run(Name(), {.Baud = 0});
  const Bytes flash = RandomBytes(2 * Words(), 11);
  const Bytes eeprom = RandomBytes(EepromBytes(), 12);
  FillChip(run.Chip(), flash, eeprom);

  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_read_Click), CommandEnding::Finished);

  EXPECT_EQ(run.Wire, Joined({MemoryBytes(), FuseReadBytes(Name())}));
  for (std::size_t i = 0; i < flash.size(); ++i) {
    ASSERT_EQ(run.State.FlashBuffer[i ^ 1U], flash[i]) << i;
  }
  EXPECT_TRUE(std::equal(eeprom.begin(), eeprom.end(), run.State.EepromBuffer.begin()));
  EXPECT_TRUE(ops::Succeeded(run.State));
}

TEST_P(OnEveryDevice, AChipThatIsReadAndProgrammedIntoAnotherIsTheSameChip) {
  BoardRun run(Name(), {.Baud = 0});
  FillChip(run.Chip(), RandomBytes(2 * Words(), 13), RandomBytes(EepromBytes(), 14));
  const Bytes original = run.Chip().BinaryImage();
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);

  BoardRun other(Name(), {.Baud = 0});
  other.State.FlashBuffer = run.State.FlashBuffer;
  other.State.EepromBuffer = run.State.EepromBuffer;
  ops::RunCommand(other.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(other.Chip().BinaryImage(), original);
}

TEST_P(OnEveryDevice, WhatIsProgrammedIsReadAndSavedInAFreshRun) {
  const Bytes flash = RandomBytes(2 * Words(), 21);
  const Bytes eeprom = RandomBytes(EepromBytes(), 22);
  BoardRun first(Name(), {.Baud = 0});
  first.LoadImage(flash, eeprom);
  ops::RunCommand(first.Context, ops::Cmd_btn_program_Click);
  ASSERT_TRUE(ops::Succeeded(first.State));
  const Bytes image = first.Chip().BinaryImage();

  BoardRun fresh(Name(), {.Baud = 0});
  FillChip(fresh.Chip(), Bytes(image.begin(), image.begin() + static_cast<long>(flash.size())),
           Bytes(image.begin() + static_cast<long>(flash.size()), image.end()));
  ops::RunCommand(fresh.Context, ops::Cmd_btn_read_Click);
  fresh.FileDialogs.Choice = "/files/copy.hex";
  EXPECT_EQ(ops::RunCommand(fresh.Context, ops::mnuFileSaveAs_Click), CommandEnding::Finished);

  Bytes doubled = eeprom;
  doubled.resize(2 * eeprom.size(), 0xFF);
  EXPECT_EQ(fresh.Files.Files["/files/copy.hex"], HexFile(flash));
  EXPECT_EQ(fresh.Files.Files["/files/copy.eep"], HexFile(doubled));
}

TEST_P(OnEveryDevice, VerifySendsTheDescribedBytesAndFindsNoDifference) {
  BoardRun run(Name(), {.Baud = 0});
  Bytes flash = RandomBytes(2 * Words(), 15);
  flash.back() = 0;
  Bytes eeprom = RandomBytes(EepromBytes(), 16);
  eeprom.back() = 0;
  FillChip(run.Chip(), flash, eeprom);
  run.LoadImage(flash, eeprom);

  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click), CommandEnding::Finished);

  EXPECT_EQ(run.Wire, MemoryBytes());
  EXPECT_EQ(run.PanelText(Panel::Status), "ベリファイ終了しました。");
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
  EXPECT_TRUE(run.State.VerifyStandalone);
}

TEST_P(OnEveryDevice, EraseSendsTheDescribedBytesAndBlanksTheChip) {
  BoardRun run(Name(), {.Baud = 0});
  FillChip(run.Chip(), RandomBytes(2 * Words(), 17), RandomBytes(EepromBytes(), 18));
  run.Chip().SetLockBits(2);

  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click), CommandEnding::Finished);

  EXPECT_EQ(run.Wire, Joined({BoardRun::LinkCheckBytes(GetParam().DeviceCode), Hex("'sAPeL'")}));
  EXPECT_THAT(run.Chip().BinaryImage(), Each(0xFF));
  EXPECT_EQ(run.Chip().LockBits(), 3U);
  EXPECT_EQ(run.PanelText(Panel::Status), "チップ イレース完了。");
  EXPECT_TRUE(ops::Succeeded(run.State));
}

INSTANTIATE_TEST_SUITE_P(Devices, OnEveryDevice, ValuesIn(core::DeviceCatalogue()),
                         [](const auto& device) {
                           const std::string name(device.param.DisplayName);
                           return name.substr(0, name.find_first_of(" (")) +
                                  std::to_string(device.index);
                         });

/// A board on which a command has run.
struct Done : BoardRun {
  explicit Done(const ops::Entry& command, board::SimulatedBoardOptions options = {})
      : BoardRun(kTiny12, std::move(options)) {
    ops::RunCommand(Context, command);
  }
};

TEST(Read, TracesItsStepsAndShowsItsCompletionAndTheElapsedTime) {
  Done run(ops::Cmd_btn_read_Click, {.Baud = 0});
  EXPECT_EQ(
      run.NewTrace(),
      Joined<Texts>(
          {{"\r\n>>>>> START <<<<<", ""},
           LinkCheckTrace(0x55),
           {"フラッシュプログラムメモリ　読出し中....."},
           SignatureTrace("1E:90:05"),
           PhaseTrace("フラッシュプログラムメモリ　読出し中....."),
           PhaseTrace("ＥＥＰＲＯＭデータメモリ 読出し中....."),
           {"Ｌｏｃｋ/Ｆｕｓｅビット 読出し中....."},
           SignatureTrace("1E:90:05"),
           LabelledTrace("r_readFuseBit"),
           LabelledTrace("F_readLockFuseBit", {"Read Lock & Fuse bit F : FF"}),
           LabelledTrace("o_readCalibtationByte"),
           {"Lock/Fuse bit リードが完了しました。",
            "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。", "1秒"}}));
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "1秒");
  EXPECT_FALSE(run.Dialog.Loaded);
}

TEST(Read, OfAnErasedChipFillsBothBuffersWithBlanks) {
  BoardRun run(kTiny12, {.Baud = 0});
  run.LoadImage(Bytes(1024, 0), Bytes(64, 0));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_THAT(std::span(run.State.FlashBuffer).first(1024), Each(0xFF));
  EXPECT_THAT(std::span(run.State.EepromBuffer).first(64), Each(0xFF));
  EXPECT_THAT(run.FileText("avrhex.txt"), HasSubstr("0000: FFFF FFFF"));
}

TEST(Read, AWordThatTimesOutEndsItAtOnceWithTheWordsBeforeItInTheBuffer) {
  // Link check 4 replies, session 4, A P a: the fourth word is reply 15.
  BoardRun run(kTiny12, WithFaults("drop@15"));
  FillChip(run.Chip(), Bytes(1024, 0x21), Bytes(64, 0x43));
  run.LoadImage(Bytes(1024, 0x77), Bytes(64, 0x78));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.FlashBytes(5, 2), "21 77");
  EXPECT_EQ(run.State.EepromBuffer[0], 0x78);
  EXPECT_EQ(run.Wire.back(), 'R');
  EXPECT_EQ(run.PanelText(Panel::Status), "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R");
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
  EXPECT_FALSE(run.Dialog.IsBusy());
  EXPECT_EQ(run.ChipState(),
            "flash read up to word 0x0002, the rest of the buffers is unchanged: read again");
  // The board was left in programming mode; the next command finds its way all the same.
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_TRUE(ops::Succeeded(run.State));
}

TEST(Read, AFailedSignatureSessionLeavesTheBuffersAlone) {
  BoardRun run(kTiny12, {.Chip = "AT90S2313"});
  run.LoadImage(Bytes(16, 0x77), {});
  const Bytes before = run.State.FlashBuffer;
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.State.FlashBuffer, before);
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "0秒");
  EXPECT_THAT(run.NewTrace(), Contains("リードを中止しました。"));
}

TEST(Read, AnUnansweredProgrammingModeShowsTheCommunicationErrorAndReadsNothing) {
  // The second "P" is reply 10.
  Done run(ops::Cmd_btn_read_Click, WithFaults("drop@10"));
  EXPECT_EQ(run.Dialog.Text, "通信エラーが発生しました。");
  EXPECT_EQ(run.Wire.back(), 'P');
  EXPECT_EQ(run.ChipState(), "nothing was read, the buffers are unchanged");
}

TEST(Read, AFailedEepromByteRunsToTheEndAndIsReported) {
  // Flash phase: A P a, 512 words, L; then A P a d: the first EEPROM byte is reply 528.
  BoardRun run(kTiny12, WithFaults("drop@528"));
  FillChip(run.Chip(), {}, Bytes(64, 0x43));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Text, "ＥＥＰＲＯＭデータメモリ 読出し失敗");
  EXPECT_EQ(run.State.EepromBuffer[0], 0xFF);
  EXPECT_EQ(run.State.EepromBuffer[63], 0x43);
  EXPECT_FALSE(ops::Succeeded(run.State));
}

TEST(Read, AnUnansweredFrameBeforeTheFlashReadsNothing) {
  // The second "A" is reply 9.
  BoardRun run(kTiny12, WithFaults("drop@9"));
  run.LoadImage(Bytes(16, 0x77), {});
  const Bytes before = run.State.FlashBuffer;
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.State.FlashBuffer, before);
  EXPECT_EQ(run.Wire.back(), 'A');
  EXPECT_NE(run.State.LinkError, 0);
}

TEST(Read, AFlashPhaseThatFailsAtItsEndIsReportedAndTheEepromIsNotRead) {
  // Session 8 replies, A P a, 512 words: "L" is reply 524. The error flag stays, so the next frame
  // ends the operation.
  BoardRun run(kTiny12, WithFaults("drop@524"));
  FillChip(run.Chip(), Bytes(1024, 0x21), Bytes(64, 0x43));
  run.Views.Calls.clear();
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Text, "フラッシュプログラムメモリ 読出し失敗");
  EXPECT_THAT(run.NewTrace(), Contains("フラッシュプログラムメモリ 読出し失敗"));
  EXPECT_EQ(run.State.FlashBuffer[1023], 0x21);
  EXPECT_EQ(run.State.EepromBuffer[0], 0xFF);
  EXPECT_TRUE(run.Views.Calls.empty()) << "no view is loaded";
  EXPECT_EQ(Bytes(run.Wire.end() - 3, run.Wire.end()), Hex("'RLA'"));
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
}

TEST(Read, AnUnansweredFrameBeforeTheEepromKeepsTheFlashThatWasRead) {
  BoardRun run(kTiny12, WithFaults("drop@525"));
  FillChip(run.Chip(), Bytes(1024, 0x21), Bytes(64, 0x43));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.State.FlashBuffer[1023], 0x21);
  EXPECT_THAT(run.FileText("avrhex.txt"), HasSubstr("0000: 2121 2121"));
  EXPECT_EQ(run.State.EepromBuffer[0], 0xFF);
  EXPECT_EQ(run.Wire.back(), 'A');
  EXPECT_FALSE(run.Dialog.IsBusy());
}

TEST(Read, AnUnansweredProgrammingModeBeforeTheEepromRunsToTheEndAndIsReported) {
  Done run(ops::Cmd_btn_read_Click, WithFaults("drop@526"));
  EXPECT_THAT(run.NewTrace(), Contains("ＥＥＰＲＯＭデータメモリ 読出し失敗"));
  EXPECT_EQ(run.Dialog.Text, "ＥＥＰＲＯＭデータメモリ 読出し失敗");
  EXPECT_EQ(std::ranges::count(run.Wire, 'd'), 64);
  EXPECT_EQ(run.Wire.back(), 'L');
}

TEST(Read, ShowsTheProgressOfEachMemory) {
  BoardRun run(kTiny12, {.Baud = 0});
  std::vector<int> ranges;
  run.Events.OnTurn = [&] {
    if (ranges.empty() || ranges.back() != run.Dialog.ProgressMaximum) {
      ranges.push_back(run.Dialog.ProgressMaximum);
    }
  };
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(ranges, (std::vector<int>{-1, 512, 64}));
  std::vector<int> expected;
  for (int word = 0; word < 512; ++word) expected.push_back(word);
  for (int byte = 0; byte < 64; ++byte) expected.push_back(byte);
  EXPECT_EQ(run.Dialog.Progress, expected);
}

TEST(Read, EachMemoryEndsWithItsDumpItsViewAndTheDialogClosed) {
  RecordedBoardRun run(kTiny12, {.Baud = 0});
  FillChip(run.Chip(), Bytes(1024, 0x21), Bytes(64, 0x43));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  const std::string left = "panel 1 Leave programming Mode L : 0D";
  EXPECT_EQ(run.EndOfPhase("フラッシュプログラムメモリ　読出し中....."),
            (Journal{left, "write /app/avrhex.txt", "load flash view", "close dialog"}));
  EXPECT_EQ(run.EndOfPhase("ＥＥＰＲＯＭデータメモリ 読出し中....."),
            (Journal{left, "write /app/avreep.txt", "load EEPROM view", "close dialog",
                     "busy Ｌｏｃｋ/Ｆｕｓｅビット 読出し中....."}));
  EXPECT_THAT(run.FileText("avrhex.txt"), StartsWith("0000: 2121 2121 "));
  EXPECT_THAT(run.FileText("avreep.txt"), StartsWith("0000: 43 43 43 43 "));
  EXPECT_EQ(run.Views.Paths[View::Flash], "/app/avrhex.txt");
  EXPECT_EQ(run.Views.Paths[View::Eeprom], "/app/avreep.txt");
}

TEST(Read, TheElapsedTimeIsInWholeSecondsAndKeptInPlaceOfTheStart) {
  Done run(ops::Cmd_btn_read_Click, WithFaults("drop@15"));
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "5秒");
  EXPECT_EQ(run.State.OperationStartTime, 5.0);
}

TEST(Read, TheElapsedTimeOverMidnightCountsTheDaysSeconds) {
  BoardRun run(kTiny12, {.Baud = 0});
  run.Clock.Set(86390.25);
  bool moved = false;
  run.Events.OnTurn = [&] {
    if (!moved && run.Dialog.Loaded) run.Clock.Set(5);
    moved = moved || run.Dialog.Loaded;
  };
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_TRUE(moved);
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "15秒");
}

TEST(Read, ShowsTheFuseAndLockBitsOfTheChip) {
  BoardRun run(kTiny12, {.Baud = 0});
  run.Chip().SetFuses(0x97, 0xFF);
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Fuses.Lists[FuseList::Cksel].Text(), "0111");
  EXPECT_EQ(run.Fuses.Lists[FuseList::Boden].Text(), "Enable");
  EXPECT_EQ(run.Fuses.Calibration, "0x6B");
  EXPECT_EQ(run.ChipState(), "flash, EEPROM, fuse and lock bits read");
}

TEST(Read, OfADeviceWhoseFusesCannotBeReadReadsNoneAndIsComplete) {
  BoardRun run("AT90S8515", {.Baud = 0});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_TRUE(ops::Succeeded(run.State));
  EXPECT_TRUE(run.State.Command.FuseBytes.empty());
  EXPECT_EQ(run.PanelText(Panel::Status),
            "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。");
  EXPECT_EQ(run.ChipState(), "flash and EEPROM read");
}

TEST(Read, OfMemoriesThatFailedReadsNoFuses) {
  Done run(ops::Cmd_btn_read_Click, WithFaults("drop@528"));
  EXPECT_EQ(std::ranges::count(run.Wire, 'r'), 0);
}

TEST(Read, WhoseFusesFailIsNotComplete) {
  // The memories end with reply 655; then A P s L, and A P r: reply 662.
  Done run(ops::Cmd_btn_read_Click, WithFaults("drop@662"));
  EXPECT_EQ(run.Dialog.Text, "Lock/Fuse bit リードに失敗しました。");
  EXPECT_EQ(run.PanelText(Panel::Status), "Lock/Fuse bit リードに失敗しました。");
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
  EXPECT_FALSE(ops::Succeeded(run.State));
  EXPECT_THAT(run.Dialog.Detail, HasSubstr("フラッシュとEEPROMは読み出しましたが"));
}

TEST(Read, WithAFailingLinkCheckLeavesTheElapsedTimeEmpty) {
  Done run(ops::Cmd_btn_read_Click, WithFaults("silent"));
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "");
}

TEST(Read, OfAnotherChipInTheSocketThanAtItsStartEndsWithTheMismatchAndTheElapsedTime) {
  BoardRun run(kTiny12, {.Baud = 0});
  // The chip goes between the memories and the fuse and lock bits.
  run.Events.OnTurn = [&] {
    if (run.Dialog.Text == "Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....") run.Chip().SetLockBits(0);
  };
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Text, "設定デバイスと、ソケット上のデバイスがミスマッチです。");
  EXPECT_EQ(std::ranges::count(run.Wire, 'r'), 0);
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_THAT(
      run.NewTrace(),
      Not(Contains("プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。")));
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
}

TEST(EraseCommand, ResetsTheFuseListsToTheirDefaultsOnlyWhenItSucceeds) {
  BoardRun failing(kTiny12, WithFaults("silent"));
  failing.Fuses.Select(FuseList::Cksel, 7);
  ops::RunCommand(failing.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(failing.Fuses.Lists[FuseList::Cksel].Text(), "0111");
  BoardRun run(kTiny12, {.Baud = 0});
  run.Fuses.Select(FuseList::Cksel, 7);
  run.Fuses.Select(FuseList::Lock, 0);
  run.Fuses.SetCalibrationText("0x6B");
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(run.Fuses.Lists[FuseList::Cksel].Text(), "0010");
  EXPECT_EQ(run.Fuses.Lists[FuseList::Lock].Text(), "プロテクトなし");
  EXPECT_EQ(run.Fuses.Calibration, "?");
}

TEST(VerifyCommand, ReportsItsEndWhateverItFound) {
  // The first word is reply 12.
  BoardRun run(kTiny12, WithFaults("drop@12"));
  run.LoadImage({0x0C, 0x94}, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  const Texts trace = run.NewTrace();
  EXPECT_THAT(trace, Contains("フラッシュメモリ ベリファイ失敗"));
  EXPECT_THAT(trace, Contains("ベリファイ　通信エラー"));
  EXPECT_EQ(run.PanelText(Panel::Status), "ベリファイ終了しました。");
}

TEST(VerifyCommand, OfAnotherChipIsStoppedAndLeavesTheReportAlone) {
  BoardRun run(kTiny12, {.Chip = "AT90S2313"});
  run.Files.Files["/app/avrvfy.txt"] = "of an earlier run";
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  EXPECT_THAT(run.NewTrace(), Contains("ベリファイを中止しました。"));
  EXPECT_EQ(run.FileText("avrvfy.txt"), "of an earlier run");
}

TEST(VerifyCommand, WithAFailingLinkCheckReportsNoEnd) {
  Done run(ops::Cmd_btn_verify_Click, WithFaults("silent"));
  EXPECT_THAT(run.NewTrace(), Not(Contains("ベリファイ終了しました。")));
}

TEST(VerifyCommand, ShowsNoElapsedTimeAndReportsDifferences) {
  BoardRun run(kTiny12);
  run.LoadImage({0x0C, 0x94}, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "");
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : NG / EEPROM : OK");
  EXPECT_EQ(run.PanelText(Panel::Status), "ベリファイ終了しました。");
  EXPECT_THAT(run.FileText("avrvfy.txt"), HasSubstr("Original = 940C   NG = FFFF"));
  EXPECT_FALSE(ops::Succeeded(run.State));
}

TEST(VerifyCommand, AndEraseLeaveTheElapsedTimeOfTheCommandBeforeThem) {
  for (const ops::Entry& command :
       {ops::Entry(ops::Cmd_btn_verify_Click), ops::Entry(ops::Cmd_btn_erase_Click)}) {
    RecordedBoardRun run(kTiny12);
    run.LoadImage({0x0C, 0x94}, {});
    ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
    const std::string elapsed = run.PanelText(Panel::Elapsed);
    EXPECT_NE(elapsed, "");
    run.Recorded.clear();
    ops::RunCommand(run.Context, command);
    EXPECT_EQ(run.PanelText(Panel::Elapsed), elapsed);
    EXPECT_THAT(run.Recorded, Not(Contains(StartsWith("panel 5"))));
  }
}

TEST(EraseCommand, KeepsTheFlashSizeThatTheSignatureStandsFor) {
  BoardRun run("AT90S8515");
  run.State.DetectedFlashWords = 77;
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(run.State.DetectedFlashWords, 4096);
}

TEST(EraseCommand, OfAProtectedChipGoesOnWhateverTheSignatureSays) {
  BoardRun run(kTiny12);
  FillChip(run.Chip(), Bytes(4, 0), {});
  run.Chip().SetLockBits(0);
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(run.PanelText(Panel::Signature), "00:01:02");
  EXPECT_EQ(run.Chip().LockBits(), 3U);
  EXPECT_EQ(run.PanelText(Panel::Status), "チップ イレース完了。");
}

TEST(EraseCommand, KeepsTheBuffersAndAppliesTheDeviceAgain) {
  BoardRun run(kTiny12);
  run.LoadImage({0x0C, 0x94}, {0x55});
  run.Form.FlashLabel.clear();
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(run.State.FlashBuffer[0], 0x94);
  EXPECT_EQ(run.State.EepromBuffer[0], 0x55);
  EXPECT_EQ(run.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 512 word");
}

TEST(EraseCommand, WithASilentSignatureGoesOn) {
  // The five attempts are replies 5 to 9; the flag of the signature is its own.
  BoardRun run(kTiny12, WithFaults("drop@5 drop@6 drop@7 drop@8 drop@9"));
  FillChip(run.Chip(), Bytes(4, 0), {});
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(run.Chip().FlashWord(0), 0xFFFF);
  EXPECT_EQ(run.State.LinkError, 0);
  EXPECT_EQ(run.PanelText(Panel::Status), "チップ イレース完了。");
}

TEST(EraseCommand, WithAFailingLinkCheckSendsNothingToTheChip) {
  Done run(ops::Cmd_btn_erase_Click, WithFaults("silent"));
  EXPECT_EQ(std::ranges::count(run.Wire, 'e'), 0);
  EXPECT_THAT(run.NewTrace(), Not(Contains("チップ イレース完了。")));
}

TEST(EraseCommand, ThatFailsReportsNoCompletion) {
  // Link check 4 replies, "s" 1, then A P e: reply 8.
  Done run(ops::Cmd_btn_erase_Click, WithFaults("drop@8"));
  const Texts trace = run.NewTrace();
  EXPECT_THAT(trace, Contains("チップ イレース失敗"));
  EXPECT_THAT(trace, Not(Contains("チップ イレース完了。")));
  EXPECT_EQ(run.ChipState(), "erase not confirmed: erase again");
}

TEST(MemoryCommands, StartWithTheStartMark) {
  for (const auto command :
       {&ops::Cmd_btn_read_Click, &ops::Cmd_btn_verify_Click, &ops::Cmd_btn_erase_Click}) {
    BoardRun run(kTiny12, WithFaults("silent"));
    command(run.Context);
    EXPECT_EQ(run.NewTrace().front(), "\r\n>>>>> START <<<<<");
  }
}

struct MemoryCommand {
  void (*Command)(core::RunContext&);
  int Replies;  ///< replies of a whole run with one word to compare, 20 of the many of a read
};

TEST(MemoryCommands, AnyReplyMayBeLostAndTheNextCommandWorks) {
  for (const auto& [command, replies] :
       {MemoryCommand{&ops::Cmd_btn_read_Click, 20}, MemoryCommand{&ops::Cmd_btn_verify_Click, 16},
        MemoryCommand{&ops::Cmd_btn_erase_Click, 9}}) {
    for (int reply = 1; reply <= replies; ++reply) {
      SCOPED_TRACE(std::to_string(replies) + " " + std::to_string(reply));
      BoardRun run(kTiny12, WithFaults("drop@" + std::to_string(reply)));
      run.LoadImage({0x0C, 0x94}, {});
      FillChip(run.Chip(), {0x0C, 0x94}, {});
      ops::RunCommand(run.Context, command);
      EXPECT_FALSE(run.Dialog.IsBusy());
      run.Clock.Advance(2);
      FillChip(run.Chip(), {0x0C, 0x94}, {});
      run.LoadImage({0x0C, 0x94}, {});
      ops::RunCommand(run.Context, command);
      EXPECT_TRUE(ops::Succeeded(run.State)) << run.PanelText(Panel::Status);
    }
  }
}

}  // namespace
}  // namespace fenwright::testing
