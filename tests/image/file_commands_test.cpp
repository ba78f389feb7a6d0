#include "image/file_commands.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "core/recorded_run.h"
#include "image/dump_files.h"
#include "ops/command.h"

namespace fenwright::image {
namespace {

using screen::MessageMode;
using testing::Journal;

constexpr char kCodePath[] = "/home/files/prog.hex";
constexpr char kDataPath[] = "/home/files/prog.eep";
constexpr char kCode[] = ":020000000C945E\r\n:00000001FF\r\n";
constexpr char kData[] = ":0200000012348E\r\n:00000001FF\r\n";
constexpr char kNotOpened[] = "指定されたファイルを開くことができませんでした。";
constexpr char kTrace[] = "append /app/_debug_avr.txt";

class FileCommands : public ::testing::Test {
 protected:
  FileCommands() { run_.Start("AT90S2313"); }

  core::AppState& State() { return run_.State; }
  void Put(std::string_view path, std::string_view content) {
    run_.Files.Files.insert_or_assign(std::string(path), std::string(content));
  }
  void PutPair() {
    Put(kCodePath, kCode);
    Put(kDataPath, kData);
  }
  OpenReport Load(const std::string& code_path = kCodePath) {
    SetCodeAndDataFile(run_.Context, code_path);
    return LoadCodeAndDataFile(run_.Context);
  }
  void FillBuffers() {
    std::ranges::fill(State().FlashBuffer, std::uint8_t{0x41});
    std::ranges::fill(State().EepromBuffer, std::uint8_t{0x42});
  }
  [[nodiscard]] bool FlashIsBlank() {
    return std::ranges::all_of(State().FlashBuffer, [](auto byte) { return byte == 0xFF; });
  }
  [[nodiscard]] bool EepromIsBlank() {
    return std::ranges::all_of(State().EepromBuffer, [](auto byte) { return byte == 0xFF; });
  }

  testing::RecordedRun run_;
};

// The dialog.

TEST_F(FileCommands, TheDialogHasItsTitleFilterExtensionAndTheStoredFolder) {
  run_.Settings.Write("Settings", "OPEN_DIR", "/home/last");
  ChooseCodeAndDataFile(run_.Context);
  ASSERT_EQ(run_.FileDialogs.Requests.size(), 1U);
  const screen::FileDialogRequest& request = run_.FileDialogs.Requests[0];
  EXPECT_EQ(request.Title, "コードファイル ＆ データファイルを開く");
  EXPECT_EQ(request.Filter, "Hex File|*.hex;*.rom|All Files|*.*|");
  EXPECT_EQ(request.DefaultExtension, "hex;rom");
  EXPECT_EQ(request.StartFolder, "/home/last");
}

TEST_F(FileCommands, TheDialogChoosesItsFolderWhenNoneIsStored) {
  ChooseCodeAndDataFile(run_.Context);
  ASSERT_EQ(run_.FileDialogs.Requests.size(), 1U);
  EXPECT_EQ(run_.FileDialogs.Requests[0].StartFolder, "");
}

TEST_F(FileCommands, AChoiceSetsBothNames) {
  run_.FileDialogs.Choice = "/home/files/other.rom";
  EXPECT_TRUE(ChooseCodeAndDataFile(run_.Context));
  EXPECT_EQ(State().CodeFileName, "/home/files/other.rom");
  EXPECT_EQ(State().DataFileName, "/home/files/other.eep");
}

TEST_F(FileCommands, ACancelledDialogChangesNothing) {
  SetCodeAndDataFile(run_.Context, kCodePath);
  EXPECT_FALSE(ChooseCodeAndDataFile(run_.Context));
  EXPECT_EQ(State().CodeFileName, kCodePath);
  EXPECT_EQ(State().DataFileName, kDataPath);
  EXPECT_TRUE(run_.TakeJournal().empty());
}

// Both files there.

TEST_F(FileCommands, BothFilesAreLoaded) {
  PutPair();
  FillBuffers();
  const OpenReport report = Load();
  EXPECT_TRUE(report.CodeFileFound);
  EXPECT_TRUE(report.KnownExtension);
  EXPECT_TRUE(report.DataFileFound);
  EXPECT_EQ(report.Code.End, HexReadEnd::Complete);
  EXPECT_EQ(report.Data.End, HexReadEnd::Complete);
  EXPECT_EQ(State().FlashBuffer[0], 0x94);
  EXPECT_EQ(State().FlashBuffer[1], 0x0C);
  EXPECT_EQ(State().EepromBuffer[0], 0x12);
  EXPECT_EQ(State().EepromBuffer[1], 0x34);
}

TEST_F(FileCommands, EachBufferIsBlankedBeforeItsFileIsRead) {
  PutPair();
  FillBuffers();
  Load();
  EXPECT_EQ(State().FlashBuffer[2], 0xFF);
  EXPECT_EQ(State().FlashBuffer[65536], 0xFF);
  EXPECT_EQ(State().EepromBuffer[2], 0xFF);
  EXPECT_EQ(State().EepromBuffer[2048], 0xFF);
}

TEST_F(FileCommands, TheStepsOfAnOpenComeInThisOrder) {
  PutPair();
  Load();
  EXPECT_EQ(run_.TakeJournal(),
            (Journal{"panel 1 Program : /home/files/prog.hex", kTrace, "read /home/files/prog.hex",
                     "write /app/avrhex.txt", "load flash view",
                     "store Settings/OPEN_DIR /home/files", "panel 1 EEPROM : /home/files/prog.eep",
                     kTrace, "read /home/files/prog.eep", "write /app/avreep.txt",
                     "load EEPROM view", "panel 1 ファイルをオープンしました。", kTrace}));
}

TEST_F(FileCommands, TheTextsOfAnOpenAreTraced) {
  PutPair();
  Load();
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{"Program : /home/files/prog.hex",
                                                       "EEPROM : /home/files/prog.eep",
                                                       "ファイルをオープンしました。"}));
}

TEST_F(FileCommands, AnOpenThatWentWellShowsNoMessage) {
  PutPair();
  Load();
  EXPECT_TRUE(run_.Dialog.Shown.empty());
  EXPECT_TRUE(run_.Boxes.Boxes.empty());
}

TEST_F(FileCommands, TheDumpsShowTheLoadedFiles) {
  PutPair();
  Load();
  EXPECT_EQ(run_.Files.Files["/app/avrhex.txt"], FlashDump(State()));
  EXPECT_EQ(run_.Files.Files["/app/avreep.txt"], EepromDump(State()));
  EXPECT_TRUE(run_.FileText("avrhex.txt").starts_with("0000: 940C FFFF "));
  EXPECT_TRUE(run_.FileText("avreep.txt").starts_with("0000: 12 34 FF "));
}

TEST_F(FileCommands, TheFolderOfTheCodeFileIsStored) {
  PutPair();
  Load();
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/home/files");
}

TEST_F(FileCommands, ANameWithoutAFolderStoresNoFolder) {
  Put("prog.hex", kCode);
  Load("prog.hex");
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "");
}

TEST_F(FileCommands, NamesInUpperCaseAreAccepted) {
  for (const char* path :
       {"/home/prog.HEX", "/home/prog.rom", "/home/prog.Rom", "/home/prog.ROM"}) {
    Put(path, kCode);
    FillBuffers();
    const OpenReport report = Load(path);
    EXPECT_TRUE(report.KnownExtension) << path;
    EXPECT_EQ(State().FlashBuffer[0], 0x94) << path;
    EXPECT_EQ(State().DataFileName, "/home/prog.eep");
    EXPECT_EQ(run_.State.StatusText, "ファイルをオープンしました。");
  }
}

TEST_F(FileCommands, AReloadReadsTheSameNamesAgainWithoutADialog) {
  PutPair();
  Load();
  Put(kCodePath, ":020000000D945D\r\n");
  const OpenReport report = LoadCodeAndDataFile(run_.Context);
  EXPECT_EQ(report.Code.End, HexReadEnd::Complete);
  EXPECT_EQ(State().FlashBuffer[1], 0x0D);
  EXPECT_TRUE(run_.FileDialogs.Requests.empty());
}

// No data file.

TEST_F(FileCommands, WithoutADataFileTheEepromIsBlankAndThatIsSaid) {
  Put(kCodePath, kCode);
  FillBuffers();
  const OpenReport report = Load();
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_TRUE(EepromIsBlank());
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{"Program : /home/files/prog.hex",
                                                       "EEPROM memory : Not found EEP file",
                                                       "ファイルをオープンしました。"}));
}

TEST_F(FileCommands, WithoutADataFileTheStepsAreTheSameButForTheRead) {
  Put(kCodePath, kCode);
  Load();
  EXPECT_EQ(
      run_.TakeJournal(),
      (Journal{"panel 1 Program : /home/files/prog.hex", kTrace, "read /home/files/prog.hex",
               "write /app/avrhex.txt", "load flash view", "store Settings/OPEN_DIR /home/files",
               "panel 1 EEPROM memory : Not found EEP file", kTrace, "write /app/avreep.txt",
               "load EEPROM view", "panel 1 ファイルをオープンしました。", kTrace}));
  EXPECT_TRUE(run_.FileText("avreep.txt").starts_with("0000: FF FF "));
}

// No code file.

TEST_F(FileCommands, WithoutACodeFileTheFlashIsBlankedAndAMessageSaysWhy) {
  Put(kDataPath, kData);
  FillBuffers();
  const OpenReport report = Load();
  EXPECT_FALSE(report.CodeFileFound);
  EXPECT_TRUE(FlashIsBlank());
  EXPECT_EQ(State().EepromBuffer[0], 0x42) << "the data file is not looked at";
  EXPECT_EQ(run_.TakeJournal(),
            (Journal{"panel 1 Program : Not found HEX file", kTrace, "write /app/avrhex.txt",
                     "load flash view", "dialog " + std::string(kNotOpened), kTrace}));
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Notice);
  EXPECT_TRUE(run_.FileText("avrhex.txt").starts_with("0000: FFFF "));
}

TEST_F(FileCommands, WithoutACodeFileTheFolderStaysAsItWas) {
  run_.Settings.Write("Settings", "OPEN_DIR", "/before");
  Load();
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/before");
}

TEST_F(FileCommands, AReloadWithNothingOpenedFindsNoCodeFile) {
  LoadCodeAndDataFile(run_.Context);
  EXPECT_EQ(run_.NewTrace(),
            (std::vector<std::string>{"Program : Not found HEX file", kNotOpened}));
}

TEST_F(FileCommands, AMissingCodeFileIsReportedAsMissingWhateverItsExtension) {
  Load("/home/files/none.txt");
  EXPECT_EQ(run_.State.StatusText, "Program : Not found HEX file");
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
}

// Another extension.

TEST_F(FileCommands, AnotherExtensionIsRefusedWithItsNameAndTheHint) {
  Put("/home/files/prog.bin", kCode);
  FillBuffers();
  const OpenReport report = Load("/home/files/prog.bin");
  EXPECT_TRUE(report.CodeFileFound);
  EXPECT_FALSE(report.KnownExtension);
  const std::string text =
      "再ロードするファイル名 ： /home/files/prog.bin\r\n"
      "再ロードするファイルが未指定です。 一度、メニューバーのファイルからＨＥＸファイルを開くと"
      "自動的にファイル名が指定されます。";
  EXPECT_EQ(run_.Dialog.Text, text);
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{text});
}

TEST_F(FileCommands, AnotherExtensionLeavesBuffersStatusAndFolderAlone) {
  Put("/home/files/prog.bin", kCode);
  FillBuffers();
  Load("/home/files/prog.bin");
  EXPECT_EQ(State().FlashBuffer[0], 0x41);
  EXPECT_EQ(State().EepromBuffer[0], 0x42);
  EXPECT_TRUE(run_.StatusBar.History.empty());
  for (const std::string& entry : run_.TakeJournal()) {
    EXPECT_TRUE(entry == kTrace || entry.starts_with("dialog ")) << entry;
  }
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
}

TEST_F(FileCommands, AnEmptyNameIsShownAsAQuestionMark) {
  // A system may find a file for the empty name: its folder.
  Put("", "");
  State().CodeFileName = "";
  LoadCodeAndDataFile(run_.Context);
  EXPECT_EQ(run_.Dialog.Text,
            "再ロードするファイル名 ： ?\r\n"
            "再ロードするファイルが未指定です。 一度、メニューバーのファイルからＨＥＸファイルを"
            "開くと自動的にファイル名が指定されます。");
}

// File errors.

TEST_F(FileCommands, ACodeFileThatCannotBeReadEndsTheOpenThere) {
  run_.RecordedFiles.Unreadable[kCodePath] = "Permission denied";
  Put(kDataPath, kData);
  FillBuffers();
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::NotOpened);
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_EQ(run_.NewTrace(),
            (std::vector<std::string>{"Program : /home/files/prog.hex", kNotOpened}));
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
  EXPECT_TRUE(FlashIsBlank()) << "it was blanked before the read";
  EXPECT_EQ(State().EepromBuffer[0], 0x42);
}

TEST_F(FileCommands, AFileErrorIsExplainedWithThePathAndTheSystemsWords) {
  run_.RecordedFiles.Unreadable[kCodePath] = "Permission denied";
  Load();
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(run_.Dialog.Detail, "/home/files/prog.hex\nPermission denied");
}

TEST_F(FileCommands, ADataFileThatCannotBeReadLeavesTheCodeLoadedAndIsExplained) {
  Put(kCodePath, kCode);
  run_.RecordedFiles.Unreadable[kDataPath] = "Input/output error";
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::NotOpened);
  EXPECT_EQ(State().FlashBuffer[0], 0x94);
  EXPECT_EQ(run_.Dialog.Detail, "/home/files/prog.eep\nInput/output error");
  EXPECT_EQ(run_.State.StatusText, "EEPROM : /home/files/prog.eep");
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/home/files");
}

TEST_F(FileCommands, ADataAddressBeyondTheBufferEndsTheOpenAndNamesTheLine) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0100000042BD\r\n:01080100ABCB\r\n");
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::OutsideBuffer);
  EXPECT_EQ(State().EepromBuffer[0], 0x42);
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
  EXPECT_TRUE(run_.Dialog.Detail.starts_with("/home/files/prog.eep\n2行目")) << run_.Dialog.Detail;
  EXPECT_NE(run_.State.StatusText, "ファイルをオープンしました。");
}

TEST_F(FileCommands, ACodeAddressBeyondTheBufferEndsTheOpenBeforeTheDataFile) {
  Put(kCodePath, ":02FFFF000102FD\r\n");
  Put(kDataPath, kData);
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::OutsideBuffer);
  EXPECT_TRUE(EepromIsBlank());
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
  EXPECT_EQ(run_.State.StatusText, "Program : /home/files/prog.hex");
}

TEST_F(FileCommands, AfterAFileErrorTheViewsShowWhatTheBuffersHold) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0100000042BD\r\n:01080100ABCB\r\n");
  Load();
  EXPECT_EQ(run_.Files.Files["/app/avrhex.txt"], FlashDump(State()));
  EXPECT_EQ(run_.Files.Files["/app/avreep.txt"], EepromDump(State()));
  EXPECT_TRUE(run_.FileText("avreep.txt").starts_with("0000: 42 FF "));
}

TEST_F(FileCommands, ABadLineInTheCodeFileIsNoFileErrorButTheDataFileThenFailsAtItsOpen) {
  Put(kCodePath, ":020000000C945E\r\n\r\n");
  Put(kDataPath, kData);
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::BadLine);
  EXPECT_EQ(report.Data.End, HexReadEnd::NotOpened);
  EXPECT_EQ(State().FlashBuffer[0], 0x94);
  EXPECT_TRUE(EepromIsBlank());
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/home/files");
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{
                                 "Program : /home/files/prog.hex", "HEX ファイルのオープンエラー",
                                 "EEPROM : /home/files/prog.eep", kNotOpened}));
}

TEST_F(FileCommands, ABadLineInTheCodeFileWithoutADataFileLetsTheOpenEndAsUsual) {
  Put(kCodePath, "bad\r\n");
  Load();
  EXPECT_EQ(run_.State.StatusText, "ファイルをオープンしました。");
}

TEST_F(FileCommands, ABadLineInTheDataFileLetsTheOpenEndAsUsual) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0100000042BD\r\nbad\r\n");
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::BadLine);
  EXPECT_EQ(State().EepromBuffer[0], 0x42);
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{
                                 "Program : /home/files/prog.hex", "EEPROM : /home/files/prog.eep",
                                 "EEP  ファイルのオープンエラー", "ファイルをオープンしました。"}));
}

TEST_F(FileCommands, AfterABadLineEveryLaterOpenFailsAndSaysWhy) {
  Put(kCodePath, "bad\r\n");
  Load();
  PutPair();
  run_.NewTrace();
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::NotOpened);
  EXPECT_TRUE(FlashIsBlank());
  EXPECT_EQ(run_.NewTrace(),
            (std::vector<std::string>{"Program : /home/files/prog.hex", kNotOpened}));
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
  EXPECT_TRUE(run_.Dialog.Detail.starts_with("/home/files/prog.hex\n"));
  EXPECT_NE(run_.Dialog.Detail.find("再起動"), std::string::npos) << "the cure";
}

TEST_F(FileCommands, WrongDigitsAndChecksumsDoNotStopAnOpen) {
  Put(kCodePath, ":020000000c9400\r\n:020002000D9400\r\n");
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::Complete);
  EXPECT_EQ(report.Code.FirstDoubtfulLine, 1);
  EXPECT_EQ(report.Code.FirstBadChecksumLine, 2);
  EXPECT_EQ(run_.State.StatusText, "ファイルをオープンしました。");
  EXPECT_TRUE(run_.Dialog.Shown.empty());
}

TEST_F(FileCommands, ADumpThatTheDiscRefusesEndsTheOpenBeforeTheFolderIsStored) {
  PutPair();
  run_.Files.Refused = {"/app/avrhex.txt"};
  SetCodeAndDataFile(run_.Context, kCodePath);
  EXPECT_EQ(
      ops::RunCommand(run_.Context, [&](core::RunContext&) { LoadCodeAndDataFile(run_.Context); }),
      core::CommandEnding::FileError);
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{"Program : /home/files/prog.hex"});
  ASSERT_EQ(run_.Boxes.Boxes.size(), 1U);
  EXPECT_NE(run_.Boxes.Boxes[0].Text.find("/app/avrhex.txt"), std::string::npos);
  EXPECT_FALSE(State().CommandRunning);
}

// Code alone.

TEST_F(FileCommands, TheDialogForACodeFileHasItsTitleFilterExtensionAndFolder) {
  run_.Settings.Write("Settings", "OPEN_DIR", "/home/last");
  run_.Settings.Write("Settings", "SAVE_DIR", "/home/saved");
  EXPECT_FALSE(ChooseCodeFile(run_.Context));
  ASSERT_EQ(run_.FileDialogs.Requests.size(), 1U);
  const screen::FileDialogRequest& request = run_.FileDialogs.Requests[0];
  EXPECT_EQ(request.Title, "コードファイル(*.hex)を開く");
  EXPECT_EQ(request.Filter, "Hex File|*.hex;*.rom|All Files|*.*|");
  EXPECT_EQ(request.DefaultExtension, "hex;rom");
  EXPECT_EQ(request.StartFolder, "/home/last");
}

TEST_F(FileCommands, AChosenCodeFileLeavesTheDataFilesNameAlone) {
  State().DataFileName = "/before.eep";
  run_.FileDialogs.Choice = kCodePath;
  EXPECT_TRUE(ChooseCodeFile(run_.Context));
  EXPECT_EQ(State().CodeFileName, kCodePath);
  EXPECT_EQ(State().DataFileName, "/before.eep");
}

TEST_F(FileCommands, ACancelledCodeDialogChangesNothing) {
  State().CodeFileName = "/before.hex";
  EXPECT_FALSE(ChooseCodeFile(run_.Context));
  EXPECT_EQ(State().CodeFileName, "/before.hex");
}

TEST_F(FileCommands, TheStepsOfOpeningACodeFileComeInThisOrder) {
  PutPair();
  FillBuffers();
  State().CodeFileName = kCodePath;
  const OpenReport report = LoadCodeFile(run_.Context);
  EXPECT_TRUE(report.CodeFileFound);
  EXPECT_TRUE(report.KnownExtension);
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_EQ(report.Code.DataRecords, 1);
  EXPECT_EQ(
      run_.TakeJournal(),
      (Journal{"panel 1 Program : /home/files/prog.hex", kTrace, "read /home/files/prog.hex",
               "write /app/avrhex.txt", "load flash view", "store Settings/OPEN_DIR /home/files"}));
  EXPECT_EQ(State().FlashBuffer[0], 0x94);
  EXPECT_EQ(State().FlashBuffer[2], 0xFF) << "blanked before";
  EXPECT_EQ(State().EepromBuffer[0], 0x42) << "the EEPROM is not touched";
  EXPECT_EQ(State().CodeFileName, kCodePath);
}

TEST_F(FileCommands, ACodeFileAloneMayHaveItsExtensionInAnyCase) {
  for (const char* path : {"/home/a.HEX", "/home/a.Rom", "/home/a b \"c\" 日本.hex"}) {
    Put(path, kCode);
    FillBuffers();
    State().CodeFileName = path;
    LoadCodeFile(run_.Context);
    EXPECT_EQ(State().FlashBuffer[0], 0x94) << path;
    EXPECT_EQ(State().StatusText, "Program : " + std::string(path));
  }
}

TEST_F(FileCommands, ACodeFileThatIsNotThereIsPassedOverAndKeepsItsName) {
  FillBuffers();
  State().CodeFileName = "/home/gone.hex";
  const OpenReport report = LoadCodeFile(run_.Context);
  EXPECT_FALSE(report.CodeFileFound);
  EXPECT_TRUE(run_.TakeJournal().empty());
  EXPECT_EQ(State().FlashBuffer[0], 0x41);
  EXPECT_EQ(State().CodeFileName, "/home/gone.hex");
}

TEST_F(FileCommands, ACodeFileWithAnotherExtensionIsPassedOver) {
  Put("/home/prog.bin", kCode);
  FillBuffers();
  State().CodeFileName = "/home/prog.bin";
  const OpenReport report = LoadCodeFile(run_.Context);
  EXPECT_TRUE(report.CodeFileFound);
  EXPECT_FALSE(report.KnownExtension);
  EXPECT_TRUE(run_.TakeJournal().empty());
  EXPECT_EQ(State().FlashBuffer[0], 0x41);
}

TEST_F(FileCommands, ACodeFileThatCannotBeReadForgetsItsNameAndIsReportedInAMessageBox) {
  run_.RecordedFiles.Unreadable[kCodePath] = "Permission denied";
  State().CodeFileName = kCodePath;
  const OpenReport report = LoadCodeFile(run_.Context);
  EXPECT_EQ(report.Code.End, HexReadEnd::NotOpened);
  EXPECT_EQ(report.Code.Reason, "Permission denied");
  EXPECT_EQ(State().CodeFileName, "");
  ASSERT_EQ(run_.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run_.Boxes.Boxes[0].Icon, screen::MessageIcon::Information);
  EXPECT_EQ(run_.Boxes.Boxes[0].Text, kNotOpened);
  EXPECT_TRUE(run_.Dialog.Shown.empty());
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
}

TEST_F(FileCommands, ACodeAddressBeyondTheBufferForgetsTheNameAndTheViewShowsWhatWasRead) {
  Put(kCodePath, ":020000000C945E\r\n:02FFFF000102FD\r\n");
  State().CodeFileName = kCodePath;
  const OpenReport report = LoadCodeFile(run_.Context);
  EXPECT_EQ(report.Code.End, HexReadEnd::OutsideBuffer);
  EXPECT_EQ(State().CodeFileName, "");
  EXPECT_EQ(run_.TakeJournal(),
            (Journal{"panel 1 Program : /home/files/prog.hex", kTrace, "read /home/files/prog.hex",
                     "write /app/avrhex.txt", "load flash view", "message box"}));
  EXPECT_TRUE(run_.FileText("avrhex.txt").starts_with("0000: 940C FFFF "));
}

TEST_F(FileCommands, ADumpThatTheDiscRefusesForgetsTheNameOfACodeFileAloneToo) {
  Put(kCodePath, kCode);
  run_.Files.Refused = {"/app/avrhex.txt"};
  State().CodeFileName = kCodePath;
  EXPECT_EQ(ops::RunCommand(run_.Context, [&](core::RunContext&) { LoadCodeFile(run_.Context); }),
            core::CommandEnding::FileError);
  EXPECT_EQ(State().CodeFileName, "");
  ASSERT_EQ(run_.Boxes.Boxes.size(), 2U);
  EXPECT_EQ(run_.Boxes.Boxes[0].Text, kNotOpened);
  EXPECT_NE(run_.Boxes.Boxes[1].Text.find("/app/avrhex.txt"), std::string::npos) << "the cause";
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
}

TEST_F(FileCommands, ACodeFileThatVanishesBehindTheDialogIsPassedOver) {
  run_.FileDialogs.Choice = kCodePath;
  EXPECT_TRUE(ChooseCodeFile(run_.Context));
  EXPECT_FALSE(LoadCodeFile(run_.Context).CodeFileFound);
  EXPECT_TRUE(run_.TakeJournal().empty());
}

TEST_F(FileCommands, TheDataFilesTurnIsReported) {
  PutPair();
  EXPECT_TRUE(Load().DataFileReached);
  run_.Files.Files.erase(kDataPath);
  EXPECT_TRUE(Load().DataFileReached);
  EXPECT_TRUE(LoadDataFile(run_.Context).DataFileReached);
  EXPECT_FALSE(LoadCodeFile(run_.Context).DataFileReached);
  run_.RecordedFiles.Unreadable[kCodePath] = "Permission denied";
  EXPECT_FALSE(Load().DataFileReached);
  EXPECT_FALSE(Load("/home/files/none.hex").DataFileReached);
}

TEST_F(FileCommands, ABadLineInACodeFileAloneIsNoFileError) {
  Put(kCodePath, ":020000000C945E\r\nbad\r\n");
  State().CodeFileName = kCodePath;
  EXPECT_EQ(LoadCodeFile(run_.Context).Code.End, HexReadEnd::BadLine);
  EXPECT_EQ(State().CodeFileName, kCodePath);
  EXPECT_TRUE(run_.Boxes.Boxes.empty());
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/home/files");
  EXPECT_EQ(State().StatusText, "HEX ファイルのオープンエラー");
}

TEST_F(FileCommands, AfterABadLineOpeningACodeFileFailsInAMessageBox) {
  PutPair();
  State().HexFileLeftOpen = true;
  State().CodeFileName = kCodePath;
  LoadCodeFile(run_.Context);
  EXPECT_EQ(State().CodeFileName, "");
  ASSERT_EQ(run_.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run_.Boxes.Boxes[0].Text, kNotOpened);
}

// Data alone.

TEST_F(FileCommands, TheDialogForADataFileHasItsTitleFilterExtensionAndFolder) {
  run_.Settings.Write("Settings", "OPEN_DIR", "/home/last");
  run_.Settings.Write("Settings", "SAVE_DIR", "/home/saved");
  EXPECT_FALSE(ChooseDataFile(run_.Context));
  ASSERT_EQ(run_.FileDialogs.Requests.size(), 1U);
  const screen::FileDialogRequest& request = run_.FileDialogs.Requests[0];
  EXPECT_EQ(request.Title, "データファイル(*.eep)を開く");
  EXPECT_EQ(request.Filter, "eep File|*.eep|All Files|*.*|");
  EXPECT_EQ(request.DefaultExtension, "eep");
  EXPECT_EQ(request.StartFolder, "/home/last");
}

TEST_F(FileCommands, AChosenDataFileGetsItsExtensionAndLeavesTheCodeFilesNameAlone) {
  State().CodeFileName = "/before.hex";
  run_.FileDialogs.Choice = "/home/files/data.txt";
  EXPECT_TRUE(ChooseDataFile(run_.Context));
  EXPECT_EQ(State().DataFileName, "/home/files/data.eep");
  EXPECT_EQ(State().CodeFileName, "/before.hex");
}

TEST_F(FileCommands, ACancelledDataDialogChangesNothing) {
  State().DataFileName = "/before.eep";
  EXPECT_FALSE(ChooseDataFile(run_.Context));
  EXPECT_EQ(State().DataFileName, "/before.eep");
}

TEST_F(FileCommands, TheStepsOfOpeningADataFileComeInThisOrder) {
  PutPair();
  FillBuffers();
  State().DataFileName = kDataPath;
  const OpenReport report = LoadDataFile(run_.Context);
  EXPECT_FALSE(report.CodeFileFound);
  EXPECT_TRUE(report.DataFileFound);
  EXPECT_EQ(report.Data.DataRecords, 1);
  EXPECT_EQ(run_.TakeJournal(),
            (Journal{"panel 1 EEPROM : /home/files/prog.eep", kTrace, "read /home/files/prog.eep",
                     "write /app/avreep.txt", "load EEPROM view"}));
  EXPECT_EQ(State().EepromBuffer[0], 0x12);
  EXPECT_EQ(State().EepromBuffer[2], 0xFF) << "blanked before";
  EXPECT_EQ(State().FlashBuffer[0], 0x41) << "the flash is not touched";
}

TEST_F(FileCommands, ADataFileThatIsNotThereBlanksTheEepromAndSaysSo) {
  FillBuffers();
  State().DataFileName = kDataPath;
  const OpenReport report = LoadDataFile(run_.Context);
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_TRUE(EepromIsBlank());
  EXPECT_EQ(run_.TakeJournal(), (Journal{"panel 1 EEPROM memory : Not found EEP file", kTrace,
                                         "write /app/avreep.txt", "load EEPROM view"}));
}

TEST_F(FileCommands, ADataFileAloneThatCannotBeReadIsExplained) {
  run_.RecordedFiles.Unreadable[kDataPath] = "Input/output error";
  FillBuffers();
  State().DataFileName = kDataPath;
  const OpenReport report = LoadDataFile(run_.Context);
  EXPECT_EQ(report.Data.End, HexReadEnd::NotOpened);
  EXPECT_TRUE(EepromIsBlank());
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
  EXPECT_EQ(run_.Dialog.Detail, "/home/files/prog.eep\nInput/output error");
  EXPECT_TRUE(run_.Boxes.Boxes.empty());
}

TEST_F(FileCommands, ADataAddressBeyondTheBufferNamesTheLineAndTheViewShowsWhatWasRead) {
  Put(kDataPath, ":0100000042BD\r\n:01080100ABCB\r\n");
  State().DataFileName = kDataPath;
  LoadDataFile(run_.Context);
  EXPECT_TRUE(run_.Dialog.Detail.starts_with("/home/files/prog.eep\n2行目")) << run_.Dialog.Detail;
  EXPECT_TRUE(run_.FileText("avreep.txt").starts_with("0000: 42 FF "));
}

TEST_F(FileCommands, ABadLineInADataFileAloneIsNoFileError) {
  Put(kDataPath, ":0100000042BD\r\nbad\r\n");
  State().DataFileName = kDataPath;
  EXPECT_EQ(LoadDataFile(run_.Context).Data.End, HexReadEnd::BadLine);
  EXPECT_TRUE(run_.Dialog.Shown.empty());
  EXPECT_EQ(State().StatusText, "EEP  ファイルのオープンエラー");
  EXPECT_TRUE(run_.FileText("avreep.txt").starts_with("0000: 42 FF "));
}

}  // namespace
}  // namespace fenwright::image
