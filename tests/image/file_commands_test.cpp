#include "image/file_commands.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "core/command.h"
#include "core/recorded_run.h"
#include "image/dump_files.h"

namespace fenwright::image {
namespace {

using platform::MessageMode;
using testing::Journal;

constexpr char kCodePath[] = "/work/files/prog.hex";
constexpr char kDataPath[] = "/work/files/prog.eep";
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

// The pair of names.

TEST(DataFileName, HasTheLastThreeCharactersReplaced) {
  EXPECT_EQ(DataFileNameFor("/a/prog.hex"), "/a/prog.eep");
  EXPECT_EQ(DataFileNameFor("/a/prog.HEX"), "/a/prog.eep");
  EXPECT_EQ(DataFileNameFor("prog.rom"), "prog.eep");
  EXPECT_EQ(DataFileNameFor("data.txt"), "data.eep");
  EXPECT_EQ(DataFileNameFor("日本.hex"), "日本.eep");
}

TEST(DataFileName, CountsCharactersAndKnowsNoExtension) {
  EXPECT_EQ(DataFileNameFor("prog.html"), "prog.heep");
  EXPECT_EQ(DataFileNameFor("prog"), "peep");
}

TEST(DataFileName, ANameOfThreeCharactersOrLessIsReplacedWhole) {
  EXPECT_EQ(DataFileNameFor("abc"), "eep");
  EXPECT_EQ(DataFileNameFor("a"), "eep");
  EXPECT_EQ(DataFileNameFor(""), "eep");
}

TEST(CodeFileExtension, IsHexOrRomInAnyCase) {
  for (const char* name : {"a.hex", "a.HEX", "a.Hex", "a.rom", "a.ROM", "a.Rom", "a.rOm", ".hex"}) {
    EXPECT_TRUE(HasCodeFileExtension(name)) << name;
  }
}

TEST(CodeFileExtension, NothingElseCounts) {
  for (const char* name : {"", "hex", "ahex", "a.hexx", "a.hex ", "a.hex.txt", "a.eep", "a.ro",
                           "a.bin", "hex.a", "/dir.hex/a"}) {
    EXPECT_FALSE(HasCodeFileExtension(name)) << name;
  }
}

// The dialog.

TEST_F(FileCommands, TheDialogHasItsTitleFilterExtensionAndTheStoredFolder) {
  run_.Settings.Write("Settings", "OPEN_DIR", "/work/last");
  ChooseCodeAndDataFile(run_.Context);
  ASSERT_EQ(run_.FileDialogs.Requests.size(), 1U);
  const platform::FileDialogRequest& request = run_.FileDialogs.Requests[0];
  EXPECT_EQ(request.Title, "コードファイル ＆ データファイルを開く");
  EXPECT_EQ(request.Filter, "Hex File|*.hex;*.rom|All Files|*.*|");
  EXPECT_EQ(request.DefaultExtension, "hex;rom");
  EXPECT_EQ(request.StartFolder, "/work/last");
}

TEST_F(FileCommands, TheDialogChoosesItsFolderWhenNoneIsStored) {
  ChooseCodeAndDataFile(run_.Context);
  ASSERT_EQ(run_.FileDialogs.Requests.size(), 1U);
  EXPECT_EQ(run_.FileDialogs.Requests[0].StartFolder, "");
}

TEST_F(FileCommands, AChoiceSetsBothNames) {
  run_.FileDialogs.Choice = "/work/files/other.rom";
  EXPECT_TRUE(ChooseCodeAndDataFile(run_.Context));
  EXPECT_EQ(State().CodeFileName, "/work/files/other.rom");
  EXPECT_EQ(State().DataFileName, "/work/files/other.eep");
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
            (Journal{"panel 1 Program : /work/files/prog.hex", kTrace, "read /work/files/prog.hex",
                     "write /app/avrhex.txt", "load flash view",
                     "store Settings/OPEN_DIR /work/files", "panel 1 EEPROM : /work/files/prog.eep",
                     kTrace, "read /work/files/prog.eep", "write /app/avreep.txt",
                     "load EEPROM view", "panel 1 ファイルをオープンしました。", kTrace}));
}

TEST_F(FileCommands, TheTextsOfAnOpenAreTraced) {
  PutPair();
  Load();
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{"Program : /work/files/prog.hex",
                                                       "EEPROM : /work/files/prog.eep",
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
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/work/files");
}

TEST_F(FileCommands, ANameWithoutAFolderStoresNoFolder) {
  Put("prog.hex", kCode);
  Load("prog.hex");
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "");
}

TEST_F(FileCommands, NamesInUpperCaseAreAccepted) {
  for (const char* path :
       {"/work/prog.HEX", "/work/prog.rom", "/work/prog.Rom", "/work/prog.ROM"}) {
    Put(path, kCode);
    FillBuffers();
    const OpenReport report = Load(path);
    EXPECT_TRUE(report.KnownExtension) << path;
    EXPECT_EQ(State().FlashBuffer[0], 0x94) << path;
    EXPECT_EQ(State().DataFileName, "/work/prog.eep");
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
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{"Program : /work/files/prog.hex",
                                                       "EEPROM memory : Not found EEP file",
                                                       "ファイルをオープンしました。"}));
}

TEST_F(FileCommands, WithoutADataFileTheStepsAreTheSameButForTheRead) {
  Put(kCodePath, kCode);
  Load();
  EXPECT_EQ(
      run_.TakeJournal(),
      (Journal{"panel 1 Program : /work/files/prog.hex", kTrace, "read /work/files/prog.hex",
               "write /app/avrhex.txt", "load flash view", "store Settings/OPEN_DIR /work/files",
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
  Load("/work/files/none.txt");
  EXPECT_EQ(run_.State.StatusText, "Program : Not found HEX file");
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
}

// Another extension.

TEST_F(FileCommands, AnotherExtensionIsRefusedWithItsNameAndTheHint) {
  Put("/work/files/prog.bin", kCode);
  FillBuffers();
  const OpenReport report = Load("/work/files/prog.bin");
  EXPECT_TRUE(report.CodeFileFound);
  EXPECT_FALSE(report.KnownExtension);
  const std::string text =
      "再ロードするファイル名 ： /work/files/prog.bin\r\n"
      "再ロードするファイルが未指定です。 一度、メニューバーのファイルからＨＥＸファイルを開くと"
      "自動的にファイル名が指定されます。";
  EXPECT_EQ(run_.Dialog.Text, text);
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{text});
}

TEST_F(FileCommands, AnotherExtensionLeavesBuffersStatusAndFolderAlone) {
  Put("/work/files/prog.bin", kCode);
  FillBuffers();
  Load("/work/files/prog.bin");
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
            (std::vector<std::string>{"Program : /work/files/prog.hex", kNotOpened}));
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
  EXPECT_TRUE(FlashIsBlank()) << "it was blanked before the read";
  EXPECT_EQ(State().EepromBuffer[0], 0x42);
}

TEST_F(FileCommands, AFileErrorIsExplainedWithThePathAndTheSystemsWords) {
  run_.RecordedFiles.Unreadable[kCodePath] = "Permission denied";
  Load();
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(run_.Dialog.Detail, "/work/files/prog.hex\nPermission denied");
}

TEST_F(FileCommands, ADataFileThatCannotBeReadLeavesTheCodeLoadedAndIsExplained) {
  Put(kCodePath, kCode);
  run_.RecordedFiles.Unreadable[kDataPath] = "Input/output error";
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::NotOpened);
  EXPECT_EQ(State().FlashBuffer[0], 0x94);
  EXPECT_EQ(run_.Dialog.Detail, "/work/files/prog.eep\nInput/output error");
  EXPECT_EQ(run_.State.StatusText, "EEPROM : /work/files/prog.eep");
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/work/files");
}

TEST_F(FileCommands, ADataAddressBeyondTheBufferEndsTheOpenAndNamesTheLine) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0100000042BD\r\n:01080100ABCB\r\n");
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::OutsideBuffer);
  EXPECT_EQ(State().EepromBuffer[0], 0x42);
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
  EXPECT_TRUE(run_.Dialog.Detail.starts_with("/work/files/prog.eep\n2行目")) << run_.Dialog.Detail;
  EXPECT_NE(run_.State.StatusText, "ファイルをオープンしました。");
}

TEST_F(FileCommands, ACodeAddressBeyondTheBufferEndsTheOpenBeforeTheDataFile) {
  Put(kCodePath, ":02FFFF000102FD\r\n");
  Put(kDataPath, kData);
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::OutsideBuffer);
  EXPECT_TRUE(EepromIsBlank());
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
  EXPECT_EQ(run_.State.StatusText, "Program : /work/files/prog.hex");
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
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), "/work/files");
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{
                                 "Program : /work/files/prog.hex", "HEX ファイルのオープンエラー",
                                 "EEPROM : /work/files/prog.eep", kNotOpened}));
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
                                 "Program : /work/files/prog.hex", "EEPROM : /work/files/prog.eep",
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
            (std::vector<std::string>{"Program : /work/files/prog.hex", kNotOpened}));
  EXPECT_EQ(run_.Dialog.Text, kNotOpened);
  EXPECT_TRUE(run_.Dialog.Detail.starts_with("/work/files/prog.hex\n"));
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
  EXPECT_EQ(core::RunCommand(run_.Context, [&] { LoadCodeAndDataFile(run_.Context); }),
            core::CommandEnding::FileError);
  EXPECT_EQ(run_.Settings.Read("Settings", "OPEN_DIR"), std::nullopt);
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{"Program : /work/files/prog.hex"});
  ASSERT_EQ(run_.Boxes.Boxes.size(), 1U);
  EXPECT_NE(run_.Boxes.Boxes[0].Text.find("/app/avrhex.txt"), std::string::npos);
  EXPECT_FALSE(State().CommandRunning);
}

}  // namespace
}  // namespace fenwright::image
