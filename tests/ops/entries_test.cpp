// The commands of the window's controls: that each does what it stands for, and what is said about
// the files and memories afterwards.

#include "image/buffer_content.h"
#include "image/file_summary.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/samples.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

const std::string kCodeInfo = "prog.hex\n2 / 512 word (1 %)";
const std::string kDataInfo = "prog.eep\n1 / 64 byte (2 %)";

struct EntryTest : RecordedTest {
  EntryTest() {
    Start("ATtiny12L");
    Files.Files[kCodePath] = HexFile({0x0C, 0x94, 0x2A, 0x00});
    Files.Files[kDataPath] = HexFile({0x42});
    FileDialogs.Choice = kCodePath;
  }
  CommandEnding Press(void (*entry)(core::RunContext&)) { return ops::RunCommand(Context, entry); }
  void GivenInfo() {
    State.CodeInfo = "code";
    State.DataInfo = "data";
  }
};

TEST_F(EntryTest, TheOpenButtonOpensThePairAndSaysWhatIsInIt) {
  Press(ops::Cmd_btn_open_Click);
  EXPECT_EQ(FlashBytes(0, 4), ToHex(Hex("94 0C 00 2A")));
  EXPECT_EQ(EepromBytes(0, 1), "42");
  EXPECT_EQ(State.CodeInfo, kCodeInfo);
  EXPECT_EQ(State.DataInfo, kDataInfo);
}

TEST_F(EntryTest, AMissingCodeFileIsSaidNothingAboutAndTheDataFileKeepsItsWords) {
  GivenInfo();
  FileDialogs.Choice = "/files/other.hex";
  Press(ops::Cmd_btn_open_Click);
  EXPECT_EQ(State.CodeInfo, "");
  EXPECT_EQ(State.DataInfo, "data");
}

TEST_F(EntryTest, OpeningACodeFileAloneSaysWhatIsInIt) {
  GivenInfo();
  Press(ops::mnuFileOpenCode_Click);
  EXPECT_EQ(FlashBytes(0, 2), ToHex(Hex("94 0C")));
  EXPECT_EQ(State.CodeInfo, kCodeInfo);
  EXPECT_EQ(State.DataInfo, "data");
}

TEST_F(EntryTest, ACodeFileOfAnotherKindLeavesWhatIsSaidAboutTheBuffer) {
  GivenInfo();
  Files.Files["/files/prog.txt"] = "text";
  FileDialogs.Choice = "/files/prog.txt";
  Press(ops::mnuFileOpenCode_Click);
  EXPECT_EQ(State.CodeInfo, "code");
}

TEST_F(EntryTest, ACodeFileThatCannotBeReadIsForgottenWithWhatWasSaidAboutIt) {
  GivenInfo();
  Files.Unreadable[kCodePath] = "permission denied";
  Press(ops::mnuFileOpenCode_Click);
  EXPECT_EQ(State.CodeFileName, "");
  EXPECT_EQ(State.CodeInfo, "");
}

TEST_F(EntryTest, OpeningADataFileAloneSaysWhatIsInIt) {
  GivenInfo();
  FileDialogs.Choice = kDataPath;
  Press(ops::mnuFileOpenData_Click);
  EXPECT_EQ(EepromBytes(0, 1), "42");
  EXPECT_EQ(State.CodeInfo, "code");
  EXPECT_EQ(State.DataInfo, kDataInfo);
}

TEST_F(EntryTest, ACancelledDialogLeavesWhatIsSaidAboutTheFiles) {
  GivenInfo();
  FileDialogs.Choice.reset();
  for (const auto entry :
       {ops::mnuFileOpenCode_Click, ops::mnuFileOpenData_Click, ops::Cmd_btn_open_Click}) {
    Press(entry);
    EXPECT_EQ(State.CodeInfo, "code");
    EXPECT_EQ(State.DataInfo, "data");
    EXPECT_TRUE(BuffersAreBlank());
  }
  EXPECT_EQ(FileDialogs.Requests.size(), 3U);
}

TEST_F(EntryTest, FilesMayBeOpenedUnderTwoNames) {
  Files.Files["/files/other.eep"] = HexFile({0x43});
  ops::RunCommand(Context, [](core::RunContext& context) {
    ops::OpenFiles(context, kCodePath, "/files/other.eep");
  });
  EXPECT_EQ(State.DataFileName, "/files/other.eep");
  EXPECT_EQ(EepromBytes(0, 1), "43");
}

TEST_F(EntryTest, AnotherDeviceAndEmptyBuffersLeaveNothingToSayAboutTheFiles) {
  for (const auto entry : {ops::Combo_device_Click, ops::mnuPC_buffer_clear_Click}) {
    GivenInfo();
    Press(entry);
    EXPECT_EQ(State.CodeInfo, "");
    EXPECT_EQ(State.DataInfo, "");
  }
}

TEST_F(EntryTest, TheSaveButtonAndItsMenuItemWriteOverTheOpenedFiles) {
  for (const auto entry : {ops::Cmd_btn_save_Click, ops::mnuFileSave_Click}) {
    Files.Files.erase(kCodePath);
    Files.Files.erase(kDataPath);
    State.CodeFileName = kCodePath;
    State.DataFileName = kDataPath;
    Press(entry);
    EXPECT_TRUE(Files.Files.contains(kCodePath));
    EXPECT_TRUE(Files.Files.contains(kDataPath));
  }
}

TEST_F(EntryTest, EachFileCanBeSavedAlone) {
  FileDialogs.Choice = "/files/copy.hex";
  Press(ops::mnuFileSaveAsCode_Click);
  EXPECT_TRUE(Files.Files.contains("/files/copy.hex"));
  EXPECT_FALSE(Files.Files.contains("/files/copy.eep"));
  FileDialogs.Choice = "/files/data.eep";
  Press(ops::mnuFileSaveAsData_Click);
  EXPECT_TRUE(Files.Files.contains("/files/data.eep"));
}

TEST_F(EntryTest, ACellIsShownByItsButtonAndByEveryChangeOfTheAddress) {
  State.FlashBuffer[2] = 0x12;
  State.FlashBuffer[3] = 0x34;
  HandEdit.Address = "1";
  for (const auto entry : {ops::CmdRead_Click, ops::txtAddress_Change}) {
    HandEdit.Data.clear();
    Press(entry);
    EXPECT_EQ(HandEdit.Data, "1234");
  }
}

TEST_F(EntryTest, ACellIsChangedByItsButton) {
  HandEdit.Address = "1";
  HandEdit.Data = "1234";
  Press(ops::CmdWrite_Click);
  EXPECT_EQ(FlashBytes(2, 2), ToHex(Hex("12 34")));
}

// What the window says about the content of the buffers.

struct ContentTest : EntryTest {
  std::string Described() { return image::DescribeContent(State); }
  void Open() { Press(ops::Cmd_btn_open_Click); }
  void Edit(const char* address, const char* data) {
    HandEdit.Address = address;
    HandEdit.Data = data;
    Press(ops::CmdWrite_Click);
  }
  static constexpr const char* kOpened =
      "コード : prog.hex  2 / 512 word (1 %)\nデータ : prog.eep  1 / 64 byte (2 %)\n"
      "上書き保存の先 : prog.hex、prog.eep";
};

TEST_F(ContentTest, AtTheStartThereIsNothingToSay) {
  EXPECT_EQ(Described(), "");
  EXPECT_FALSE(image::HoldsUnsavedContent(State));
}

TEST_F(ContentTest, OpenedFilesAreNamedAndASaveGoesBackToThem) {
  Open();
  EXPECT_EQ(Described(), kOpened);
  EXPECT_FALSE(image::HoldsUnsavedContent(State));
}

TEST_F(ContentTest, AHandEditIsToldAndIsUnsavedUntilItIsSavedOrTakenBack) {
  Open();
  Edit("2", "1234");
  EXPECT_EQ(Described(),
            "コード : prog.hex を手で変更  3 / 512 word (1 %)\n"
            "データ : prog.eep  1 / 64 byte (2 %)\n"
            "上書き保存の先 : prog.hex (変更あり)、prog.eep");
  EXPECT_TRUE(image::HoldsUnsavedContent(State));
  Press(ops::Cmd_btn_save_Click);
  EXPECT_EQ(Described(),
            "コード : prog.hex  3 / 512 word (1 %)\nデータ : prog.eep  1 / 64 byte (2 %)\n"
            "上書き保存の先 : prog.hex、prog.eep");
  EXPECT_FALSE(image::HoldsUnsavedContent(State));
  Edit("2", "FFFF");
  EXPECT_TRUE(image::HoldsUnsavedContent(State));
  Edit("2", "1234");
  EXPECT_FALSE(image::HoldsUnsavedContent(State));
}

TEST_F(ContentTest, WithoutAFileAHandEditIsUnsavedToo) {
  HandEdit.Flash = false;
  Edit("1", "12");
  EXPECT_EQ(Described(),
            "コード : 空\nデータ : 手で入力した内容  1 / 64 byte (2 %)\n上書き保存の先 : なし");
  EXPECT_TRUE(image::HoldsUnsavedContent(State));
}

TEST_F(ContentTest, ACellWrittenWithItsOwnValueIsNoChange) {
  Open();
  Edit("0", "940C");
  EXPECT_EQ(Described(), kOpened);
}

TEST_F(ContentTest, BlankBuffersOverFilesWithContentAreNamedBeforeAndAfterTheSave) {
  Open();
  Press(ops::Combo_device_Click);
  EXPECT_EQ(Described(),
            "コード : 空 (デバイスの変更で消去)\nデータ : 空 (デバイスの変更で消去)\n"
            "上書き保存の先 : prog.hex (変更あり)、prog.eep (変更あり)\n"
            "⚠ 上書き保存すると prog.hex と prog.eep の内容は消えて空になります。");
  EXPECT_FALSE(image::HoldsUnsavedContent(State)) << "what was blanked is in the files";
  Press(ops::Cmd_btn_save_Click);
  EXPECT_EQ(State.StatusText,
            "ファイルを保存しました． prog.hex と prog.eep は空の内容になりました。");
  EXPECT_EQ(StatusBar.Outcome, screen::Outcome::Attention);
  EXPECT_EQ(Described(),
            "コード : prog.hex  0 / 512 word (0 %)\nデータ : prog.eep  0 / 64 byte (0 %)\n"
            "上書き保存の先 : prog.hex、prog.eep");
  Press(ops::Cmd_btn_save_Click);
  EXPECT_EQ(State.StatusText, "ファイルを保存しました．") << "they are blank already";
}

TEST_F(ContentTest, OnlyTheFileThatWouldBecomeEmptyIsNamed) {
  Open();
  std::ranges::fill(State.EepromBuffer, core::kBlank);
  EXPECT_EQ(image::FilesThatASaveWouldEmpty(State), "prog.eep");
  State.EepromBuffer[3] = 1;
  EXPECT_EQ(image::FilesThatASaveWouldEmpty(State), "");
}

TEST_F(ContentTest, AClearedBufferAndAMissingFileAreToldAsWhatTheyAre) {
  Open();
  Press(ops::mnuPC_buffer_clear_Click);
  EXPECT_THAT(Described(), StartsWith("コード : 空 (バッファーのクリア)\n"));
  Files.Files.erase(kDataPath);
  Open();
  EXPECT_EQ(Described(),
            "コード : prog.hex  2 / 512 word (1 %)\nデータ : 空 (prog.eep はありません)\n"
            "上書き保存の先 : prog.hex、prog.eep");
}

TEST_F(ContentTest, AFileThatEndsBeforeItsEndIsAnotherThanTheBuffer) {
  Files.Files[kCodePath] = ":020000000C945E\r\nbad\r\n:00000001FF\r\n";
  Open();
  const std::string text = Described();
  EXPECT_THAT(text, StartsWith("コード : prog.hex  1 / 512 word (1 %)\n⚠ prog.hex : 2行目"));
  EXPECT_THAT(text, HasSubstr("上書き保存の先 : prog.hex (変更あり)"));
  EXPECT_TRUE(image::HoldsUnsavedContent(State));
}

TEST_F(ContentTest, AFileSavedUnderAnotherNameIsSavedAndLeavesWhereASaveGoes) {
  Open();
  Edit("2", "1234");
  FileDialogs.Choice = "/files/copy.hex";
  Press(ops::mnuFileSaveAs_Click);
  EXPECT_FALSE(image::HoldsUnsavedContent(State));
  EXPECT_THAT(Described(), HasSubstr("上書き保存の先 : prog.hex (変更あり)、prog.eep"));
}

TEST_F(ContentTest, ASaveThatFailsLeavesTheChangeUnsaved) {
  Open();
  Edit("2", "1234");
  Files.Refused = {kCodePath, kDataPath};
  Press(ops::Cmd_btn_save_Click);
  EXPECT_TRUE(image::HoldsUnsavedContent(State));
  EXPECT_THAT(Described(), HasSubstr("prog.hex (変更あり)"));
}

TEST_F(ContentTest, AChangeThatNobodyNotedIsToldAsThat) {
  Open();
  State.FlashBuffer[7] = 0x12;
  EXPECT_THAT(Described(), StartsWith("コード : 途中で終わった処理の内容  3 / 512 word"));
}

// What a read leaves to say.

TEST(ReadEntry, WhatWasReadIsNoFilesAnyMore) {
  BoardRun run("ATtiny12L");
  run.Chip().SetEepromByte(3, 0x42);
  run.State.CodeInfo = "code";
  run.State.DataInfo = "data";
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.State.CodeInfo, "");
  EXPECT_EQ(run.State.DataInfo, "");
  EXPECT_EQ(image::DescribeContent(run.State),
            "コード : チップから読み出し  0 / 512 word (0 %)\n"
            "データ : チップから読み出し  1 / 64 byte (2 %)\n上書き保存の先 : なし");
}

TEST(ReadEntry, OneWordIsEnoughForThat) {
  // The link check has 4 replies, the signature session 4, "A" "P" "a" 3; then the words.
  BoardRun run("ATtiny12L", WithFaults("drop@13"));
  run.State.CodeInfo = "code";
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  ASSERT_EQ(run.State.Command.FlashWordsRead, 1);
  EXPECT_EQ(run.State.CodeInfo, "");
  EXPECT_THAT(image::DescribeContent(run.State),
              StartsWith("コード : チップから途中まで読み出し "));
}

TEST(ReadEntry, AReadThatBringsNothingLeavesWhatIsSaidAboutTheFiles) {
  BoardRun run("ATtiny12L", WithFaults("silent"));
  run.State.CodeInfo = "code";
  run.State.DataInfo = "data";
  ops::RunCommand(run.Context, ops::Cmd_btn_read_Click);
  EXPECT_EQ(run.State.CodeInfo, "code");
  EXPECT_EQ(run.State.DataInfo, "data");
}

// The elapsed time of the command before.

TEST(ElapsedPanel, IsEmptyFromTheStartOfProgrammingAndReadingOn) {
  for (const auto entry : {ops::Cmd_btn_program_Click, ops::Cmd_btn_read_Click}) {
    BoardRun run("ATtiny12L", WithFaults("silent"));
    run.StatusBar.Texts[Panel::Elapsed] = "12秒";
    ops::RunCommand(run.Context, entry);
    EXPECT_EQ(run.PanelText(Panel::Elapsed), "");
  }
}

// Failures that have no words of their own.

TEST(FailureText, AnEraseThatIsNotBegunIsANoticeOfTheExchangeWithTheStateOfTheChip) {
  // Reply 5 is that of the signature, reply 6 that of the erase's "A".
  BoardRun run("ATtiny12L", WithFaults("drop@6"));
  ops::RunCommand(run.Context, ops::Cmd_btn_erase_Click);
  EXPECT_THAT(run.Dialog.Shown.back(),
              Pair("ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A", MessageMode::Notice));
  EXPECT_EQ(run.Dialog.Detail, "デバイスには何も書き込んでいません。");
}

TEST(FailureText, WithoutAFailedExchangeTheBusyDialogIsClosedWithNothingToSay) {
  BoardRun run("ATtiny12L");
  // Nothing is selected any more once the check of the chip is over.
  run.Events.OnTurn = [&run] {
    if (!run.Wire.empty() && run.Wire.back() == 'L') run.Form.ForcedText = "";
  };
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  ASSERT_EQ(run.State.Command.LastFailure, "");
  ASSERT_FALSE(ops::Succeeded(run.State));
  EXPECT_FALSE(run.Dialog.Loaded);
  EXPECT_EQ(run.Dialog.Shown.size(), 1U);
}

}  // namespace
}  // namespace fenwright::testing
