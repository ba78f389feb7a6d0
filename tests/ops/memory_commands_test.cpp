// The Read, Verify and Erase commands: wire, texts, flags, and what they leave behind.

#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

#include "core/device_catalogue.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/read_device.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using core::CommandEnding;
using screen::MessageMode;
using screen::Panel;
using Texts = std::vector<std::string>;

constexpr const char* kTiny12 = "ATtiny12L";

bool Contains(const Texts& texts, const std::string& text) {
  return std::ranges::find(texts, text) != texts.end();
}

void Append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

void FillChip(board::Chip& chip, const Bytes& flash, const Bytes& eeprom) {
  for (std::uint32_t word = 0; word < flash.size() / 2; ++word) {
    const std::size_t low = 2 * std::size_t{word};
    chip.SetFlashWord(word, static_cast<std::uint16_t>(flash[low] | flash[low + 1] << 8));
  }
  for (std::uint32_t byte = 0; byte < eeprom.size(); ++byte) chip.SetEepromByte(byte, eeprom[byte]);
}

Bytes AddressedBytes(std::size_t count, char command) {
  Bytes wire;
  for (std::size_t i = 0; i < count; ++i) {
    Append(wire, {'a', static_cast<std::uint8_t>(i / 256), static_cast<std::uint8_t>(i % 256),
                  static_cast<std::uint8_t>(command)});
  }
  return wire;
}

/// What reading the fuse and lock bits sends behind the memories: the check of the chip, and each
/// byte in a programming mode of its own.
Bytes FuseReadBytes(const std::string& device) {
  Bytes wire = Hex("'APsL'");
  if (device == "ATtiny12L" || device == "ATtiny15L") Append(wire, Hex("'APrLAPFLAPoL'"));
  if (device == "ATtiny26L") Append(wire, Hex("'APrLAP:' 58 08 00 'LAPFLAPoL'"));
  if (device == "AT90S4433") Append(wire, Hex("'APrLAPFL'"));
  for (const char* combined : {"AT90S2323", "AT90S2343", "AT90S4434", "AT90S8535"}) {
    if (device == combined) Append(wire, Hex("'APFL'"));
  }
  return wire;
}

class OnEveryDevice : public ::testing::TestWithParam<core::DeviceEntry> {
 protected:
  [[nodiscard]] std::string Name() const { return std::string(GetParam().DisplayName); }
  [[nodiscard]] std::size_t Words() const {
    return static_cast<std::size_t>(GetParam().FlashWords);
  }
  [[nodiscard]] std::size_t EepromBytes() const {
    return static_cast<std::size_t>(GetParam().EepromBytes);
  }
};

TEST_P(OnEveryDevice, ReadSendsTheDescribedBytesAndFillsBothBuffers) {
  BoardRun run(Name(), {.Baud = 0});
  const Bytes flash = RandomBytes(2 * Words(), 11);
  const Bytes eeprom = RandomBytes(EepromBytes(), 12);
  FillChip(run.Chip(), flash, eeprom);

  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_read_Click), CommandEnding::Finished);

  Bytes wire = BoardRun::LinkCheckBytes(GetParam().DeviceCode);
  Append(wire, Hex("'APsLAPa' 00 00"));
  wire.insert(wire.end(), Words(), std::uint8_t{'R'});
  Append(wire, Hex("'LAP'"));
  Append(wire, AddressedBytes(EepromBytes(), 'd'));
  Append(wire, Hex("'L'"));
  Append(wire, FuseReadBytes(Name()));
  EXPECT_EQ(run.Wire, wire);
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

  Bytes wire = BoardRun::LinkCheckBytes(GetParam().DeviceCode);
  Append(wire, Hex("'APsLAPa' 00 00"));
  wire.insert(wire.end(), Words(), std::uint8_t{'R'});
  Append(wire, Hex("'LAP'"));
  Append(wire, AddressedBytes(EepromBytes(), 'd'));
  Append(wire, Hex("'L'"));
  EXPECT_EQ(run.Wire, wire);
  EXPECT_EQ(run.PanelText(Panel::Status), "ベリファイ終了しました。");
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
  EXPECT_TRUE(run.State.VerifyStandalone);
}

TEST_P(OnEveryDevice, EraseSendsTheDescribedBytesAndBlanksTheChip) {
  BoardRun run(Name(), {.Baud = 0});
  FillChip(run.Chip(), RandomBytes(2 * Words(), 17), RandomBytes(EepromBytes(), 18));
  run.Chip().SetLockBits(2);

  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click), CommandEnding::Finished);

  Bytes wire = BoardRun::LinkCheckBytes(GetParam().DeviceCode);
  Append(wire, Hex("'sAPeL'"));
  EXPECT_EQ(run.Wire, wire);
  const Bytes image = run.Chip().BinaryImage();
  EXPECT_TRUE(std::ranges::all_of(image, [](std::uint8_t byte) { return byte == 0xFF; }));
  EXPECT_EQ(run.Chip().LockBits(), 3U);
  EXPECT_EQ(run.PanelText(Panel::Status), "チップ イレース完了。");
  EXPECT_TRUE(ops::Succeeded(run.State));
}

INSTANTIATE_TEST_SUITE_P(Devices, OnEveryDevice, ::testing::ValuesIn(core::DeviceCatalogue()),
                         [](const auto& device) {
                           const std::string name(device.param.DisplayName);
                           return name.substr(0, name.find_first_of(" (")) +
                                  std::to_string(device.index);
                         });

TEST(Read, TracesItsStepsAndShowsItsCompletionAndTheElapsedTime) {
  BoardRun run(kTiny12, {.Baud = 0});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  const Texts expected{"\r\n>>>>> START <<<<<",
                       "",
                       "ライタと通信中！",
                       "COM3",
                       "ｺﾏﾝﾄﾞ送信 : Avr Extend command A",
                       "ライターを COM3に検出しました。",
                       "KV-LOD350  V6.38",
                       "ｺﾏﾝﾄﾞ送信 : Select device command T , 0x55",
                       "ライタの準備　ＯＫ ！！",
                       "フラッシュプログラムメモリ　読出し中.....",
                       "A_AvrExtend command A : 0D",
                       "Enter programming Mode P : 0D",
                       "--:--:--",
                       "1E:90:05",
                       "Leave programming Mode L : 0D",
                       "A_AvrExtend command A : 0D",
                       "フラッシュプログラムメモリ　読出し中.....",
                       "Enter programming Mode P : 0D",
                       "Leave programming Mode L : 0D",
                       "A_AvrExtend command A : 0D",
                       "ＥＥＰＲＯＭデータメモリ 読出し中.....",
                       "Enter programming Mode P : 0D",
                       "Leave programming Mode L : 0D",
                       "Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....",
                       "A_AvrExtend command A : 0D",
                       "Enter programming Mode P : 0D",
                       "--:--:--",
                       "1E:90:05",
                       "Leave programming Mode L : 0D",
                       "A_AvrExtendCommand",
                       "A_AvrExtend command A : 0D",
                       "P_enterProgrammingMode",
                       "Enter programming Mode P : 0D",
                       "r_readFuseBit",
                       "L_leaveProgrammingMode",
                       "Leave programming Mode L : 0D",
                       "A_AvrExtendCommand",
                       "A_AvrExtend command A : 0D",
                       "P_enterProgrammingMode",
                       "Enter programming Mode P : 0D",
                       "F_readLockFuseBit",
                       "Read Lock & Fuse bit F : FF",
                       "L_leaveProgrammingMode",
                       "Leave programming Mode L : 0D",
                       "A_AvrExtendCommand",
                       "A_AvrExtend command A : 0D",
                       "P_enterProgrammingMode",
                       "Enter programming Mode P : 0D",
                       "o_readCalibtationByte",
                       "L_leaveProgrammingMode",
                       "Leave programming Mode L : 0D",
                       "Lock/Fuse bit リードが完了しました。",
                       "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。",
                       run.PanelText(Panel::Elapsed)};
  EXPECT_EQ(run.NewTrace(), expected);
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "1秒");
  EXPECT_FALSE(run.Dialog.Loaded);
}

TEST(Read, OfAnErasedChipFillsBothBuffersWithBlanks) {
  BoardRun run(kTiny12, {.Baud = 0});
  run.LoadImage(Bytes(1024, 0), Bytes(64, 0));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_TRUE(std::all_of(run.State.FlashBuffer.begin(), run.State.FlashBuffer.begin() + 1024,
                          [](std::uint8_t byte) { return byte == 0xFF; }));
  EXPECT_TRUE(std::all_of(run.State.EepromBuffer.begin(), run.State.EepromBuffer.begin() + 64,
                          [](std::uint8_t byte) { return byte == 0xFF; }));
  EXPECT_NE(run.FileText("avrhex.txt").find("0000: FFFF FFFF"), std::string::npos);
}

TEST(Read, AWordThatTimesOutEndsItAtOnceWithTheWordsBeforeItInTheBuffer) {
  // Link check 4 replies, session 4, A P a: the fourth word is reply 15.
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@15")}});
  FillChip(run.Chip(), Bytes(1024, 0x21), Bytes(64, 0x43));
  run.LoadImage(Bytes(1024, 0x77), Bytes(64, 0x78));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.State.FlashBuffer[5], 0x21);
  EXPECT_EQ(run.State.FlashBuffer[6], 0x77);
  EXPECT_EQ(run.State.EepromBuffer[0], 0x78);
  EXPECT_EQ(run.Wire.back(), 'R');
  EXPECT_EQ(run.PanelText(Panel::Status), "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R");
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
  EXPECT_FALSE(run.Dialog.IsBusy());
  EXPECT_EQ(ops::DescribeChipState(run.State, core::Language::English),
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
  EXPECT_TRUE(Contains(run.NewTrace(), "リードを中止しました。"));
}

TEST(Read, AnUnansweredProgrammingModeShowsTheCommunicationErrorAndReadsNothing) {
  // The second "P" is reply 10.
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@10")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Text, "通信エラーが発生しました。");
  EXPECT_EQ(run.Wire.back(), 'P');
  EXPECT_EQ(ops::DescribeChipState(run.State, core::Language::English),
            "nothing was read, the buffers are unchanged");
}

TEST(Read, AFailedEepromByteRunsToTheEndAndIsReported) {
  // Flash phase: A P a, 512 words, L; then A P a d: the first EEPROM byte is reply 528.
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@528")}});
  FillChip(run.Chip(), {}, Bytes(64, 0x43));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Text, "ＥＥＰＲＯＭデータメモリ 読出し失敗");
  EXPECT_EQ(run.State.EepromBuffer[0], 0xFF);
  EXPECT_EQ(run.State.EepromBuffer[63], 0x43);
  EXPECT_FALSE(ops::Succeeded(run.State));
}

TEST(Read, AnUnansweredFrameBeforeTheFlashReadsNothing) {
  // The second "A" is reply 9.
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@9")}});
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
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@524")}});
  FillChip(run.Chip(), Bytes(1024, 0x21), Bytes(64, 0x43));
  run.Views.Calls.clear();
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Text, "フラッシュプログラムメモリ 読出し失敗");
  EXPECT_TRUE(Contains(run.NewTrace(), "フラッシュプログラムメモリ 読出し失敗"));
  EXPECT_EQ(run.State.FlashBuffer[1023], 0x21);
  EXPECT_EQ(run.State.EepromBuffer[0], 0xFF);
  EXPECT_TRUE(run.Views.Calls.empty()) << "no view is loaded";
  EXPECT_EQ(Bytes(run.Wire.end() - 3, run.Wire.end()), Hex("'RLA'"));
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
}

TEST(Read, AnUnansweredFrameBeforeTheEepromKeepsTheFlashThatWasRead) {
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@525")}});
  FillChip(run.Chip(), Bytes(1024, 0x21), Bytes(64, 0x43));
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.State.FlashBuffer[1023], 0x21);
  EXPECT_NE(run.FileText("avrhex.txt").find("0000: 2121 2121"), std::string::npos);
  EXPECT_EQ(run.State.EepromBuffer[0], 0xFF);
  EXPECT_EQ(run.Wire.back(), 'A');
  EXPECT_FALSE(run.Dialog.IsBusy());
}

TEST(Read, AnUnansweredProgrammingModeBeforeTheEepromRunsToTheEndAndIsReported) {
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@526")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_TRUE(Contains(run.NewTrace(), "ＥＥＰＲＯＭデータメモリ 読出し失敗"));
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

TEST(Read, TheElapsedTimeIsInWholeSecondsAndKeptInPlaceOfTheStart) {
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@15")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "5秒");
  EXPECT_EQ(run.State.OperationStartTime, 5.0);
}

TEST(Read, ShowsTheFuseAndLockBitsOfTheChip) {
  BoardRun run(kTiny12, {.Baud = 0});
  run.Chip().SetFuses(0x97, 0xFF);
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Fuses.Lists[screen::FuseList::Cksel].Text(), "0111");
  EXPECT_EQ(run.Fuses.Lists[screen::FuseList::Boden].Text(), "Enable");
  EXPECT_EQ(run.Fuses.Calibration, "0x6B");
  EXPECT_EQ(ops::DescribeChipState(run.State, core::Language::English),
            "flash, EEPROM, fuse and lock bits read");
}

TEST(Read, OfADeviceWhoseFusesCannotBeReadReadsNoneAndIsComplete) {
  BoardRun run("AT90S8515", {.Baud = 0});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_TRUE(ops::Succeeded(run.State));
  EXPECT_TRUE(run.State.Command.FuseBytes.empty());
  EXPECT_EQ(run.PanelText(Panel::Status),
            "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。");
  EXPECT_EQ(ops::DescribeChipState(run.State, core::Language::English), "flash and EEPROM read");
}

TEST(Read, OfMemoriesThatFailedReadsNoFuses) {
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@528")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(std::ranges::count(run.Wire, 'r'), 0);
}

TEST(Read, WhoseFusesFailIsNotComplete) {
  // The memories end with reply 655; then A P s L, and A P r: reply 662.
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@662")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.Dialog.Text, "Lock/Fuse bit リードに失敗しました。");
  EXPECT_EQ(run.PanelText(Panel::Status), "Lock/Fuse bit リードに失敗しました。");
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
  EXPECT_FALSE(ops::Succeeded(run.State));
  EXPECT_NE(run.Dialog.Detail.find("フラッシュとEEPROMは読み出しましたが"), std::string::npos);
}

TEST(Read, WithAFailingLinkCheckLeavesTheElapsedTimeEmpty) {
  BoardRun run(kTiny12, {.Faults = {MakeFault("silent")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
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
  EXPECT_FALSE(Contains(
      run.NewTrace(), "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。"));
  EXPECT_NE(run.PanelText(Panel::Elapsed), "");
}

TEST(EraseCommand, ResetsTheFuseListsToTheirDefaultsOnlyWhenItSucceeds) {
  BoardRun failing(kTiny12, {.Faults = {MakeFault("silent")}});
  failing.Fuses.Select(screen::FuseList::Cksel, 7);
  ops::RunCommand(failing.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(failing.Fuses.Lists[screen::FuseList::Cksel].Text(), "0111");
  BoardRun run(kTiny12, {.Baud = 0});
  run.Fuses.Select(screen::FuseList::Cksel, 7);
  run.Fuses.Select(screen::FuseList::Lock, 0);
  run.Fuses.SetCalibrationText("0x6B");
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(run.Fuses.Lists[screen::FuseList::Cksel].Text(), "0010");
  EXPECT_EQ(run.Fuses.Lists[screen::FuseList::Lock].Text(), "プロテクトなし");
  EXPECT_EQ(run.Fuses.Calibration, "?");
}

TEST(VerifyCommand, ReportsItsEndWhateverItFound) {
  // The first word is reply 12.
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@12")}});
  run.LoadImage({0x0C, 0x94}, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  const Texts trace = run.NewTrace();
  EXPECT_TRUE(Contains(trace, "フラッシュメモリ ベリファイ失敗"));
  EXPECT_TRUE(Contains(trace, "ベリファイ　通信エラー"));
  EXPECT_EQ(run.PanelText(Panel::Status), "ベリファイ終了しました。");
}

TEST(VerifyCommand, OfAnotherChipIsStoppedAndLeavesTheReportAlone) {
  BoardRun run(kTiny12, {.Chip = "AT90S2313"});
  run.Files.Files["/app/avrvfy.txt"] = "of an earlier run";
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  EXPECT_TRUE(Contains(run.NewTrace(), "ベリファイを中止しました。"));
  EXPECT_EQ(run.FileText("avrvfy.txt"), "of an earlier run");
}

TEST(VerifyCommand, WithAFailingLinkCheckReportsNoEnd) {
  BoardRun run(kTiny12, {.Faults = {MakeFault("silent")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  EXPECT_FALSE(Contains(run.NewTrace(), "ベリファイ終了しました。"));
}

TEST(VerifyCommand, ShowsNoElapsedTimeAndReportsDifferences) {
  BoardRun run(kTiny12);
  run.LoadImage({0x0C, 0x94}, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_verify_Click);
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "");
  EXPECT_EQ(run.Dialog.Text, "ベリファイ　FLASH : NG / EEPROM : OK");
  EXPECT_EQ(run.PanelText(Panel::Status), "ベリファイ終了しました。");
  EXPECT_NE(run.FileText("avrvfy.txt").find("Original = 940C   NG = FFFF"), std::string::npos);
  EXPECT_FALSE(ops::Succeeded(run.State));
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
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@5"), MakeFault("drop@6"), MakeFault("drop@7"),
                                    MakeFault("drop@8"), MakeFault("drop@9")}});
  FillChip(run.Chip(), Bytes(4, 0), {});
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(run.Chip().FlashWord(0), 0xFFFF);
  EXPECT_EQ(run.State.LinkError, 0);
  EXPECT_EQ(run.PanelText(Panel::Status), "チップ イレース完了。");
}

TEST(EraseCommand, WithAFailingLinkCheckSendsNothingToTheChip) {
  BoardRun run(kTiny12, {.Faults = {MakeFault("silent")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_EQ(std::ranges::count(run.Wire, 'e'), 0);
  EXPECT_FALSE(Contains(run.NewTrace(), "チップ イレース完了。"));
}

TEST(EraseCommand, ThatFailsReportsNoCompletion) {
  // Link check 4 replies, "s" 1, then A P e: reply 8.
  BoardRun run(kTiny12, {.Faults = {MakeFault("drop@8")}});
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  const Texts trace = run.NewTrace();
  EXPECT_TRUE(Contains(trace, "チップ イレース失敗"));
  EXPECT_FALSE(Contains(trace, "チップ イレース完了。"));
  EXPECT_EQ(ops::DescribeChipState(run.State, core::Language::English),
            "erase not confirmed: erase again");
}

TEST(MemoryCommands, StartWithTheStartMark) {
  for (const auto command :
       {&ops::Cmd_btn_read_Click, &ops::Cmd_btn_verify_Click, &ops::Cmd_btn_erase_Click}) {
    BoardRun run(kTiny12, {.Faults = {MakeFault("silent")}});
    ops::RunCommand(run.Context, command);
    EXPECT_EQ(run.NewTrace().front(), "\r\n>>>>> START <<<<<");
  }
}

struct CommandRow {
  void (*Command)(core::RunContext&);
  int Replies;  ///< replies of a whole run with one word to compare, 20 of the many of a read
};

TEST(MemoryCommands, AnyReplyMayBeLostAndTheNextCommandWorks) {
  for (const auto& [command, replies] :
       {CommandRow{&ops::Cmd_btn_read_Click, 20}, CommandRow{&ops::Cmd_btn_verify_Click, 16},
        CommandRow{&ops::Cmd_btn_erase_Click, 9}}) {
    for (int reply = 1; reply <= replies; ++reply) {
      SCOPED_TRACE(std::to_string(replies) + " " + std::to_string(reply));
      BoardRun run(kTiny12, {.Faults = {MakeFault("drop@" + std::to_string(reply))}});
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
