#include "image/file_commands.h"

#include "image/dump_files.h"
#include "image/findings.h"
#include "image/sample_files.h"
#include "ops/command.h"

namespace fenwright::image {
namespace {

constexpr char kData[] = ":0200000012348E\r\n:00000001FF\r\n";
constexpr char kNotOpened[] = "指定されたファイルを開くことができませんでした。";

struct FileCommands : Test, RecordedRun {
  FileCommands() { Start("AT90S2313"); }

  void Put(const std::string& path, const std::string& content) { Files.Files[path] = content; }
  void PutPair() {
    Put(kCodePath, kCode);
    Put(kDataPath, kData);
  }
  OpenReport LoadCode(const std::string& path = kCodePath) {
    State.CodeFileName = path;
    return LoadCodeFile(Context);
  }
  OpenReport LoadData(const std::string& path = kDataPath) {
    State.DataFileName = path;
    return LoadDataFile(Context);
  }
  OpenReport Load(const std::string& code_path = kCodePath) {
    SetCodeAndDataFile(Context, code_path);
    return LoadCodeAndDataFile(Context);
  }
};

// The dialog.

TEST_F(FileCommands, TheDialogHasItsTitleFilterExtensionAndTheStoredFolder) {
  Store("OPEN_DIR", "/home/last");
  ChooseCodeAndDataFile(Context);
  ASSERT_EQ(FileDialogs.Requests.size(), 1U);
  const screen::FileDialogRequest& request = FileDialogs.Requests[0];
  EXPECT_EQ(request.Title, "コードファイル ＆ データファイルを開く");
  EXPECT_EQ(request.Filter, "Hex File|*.hex;*.rom|All Files|*.*|");
  EXPECT_EQ(request.DefaultExtension, "hex;rom");
  EXPECT_EQ(request.StartFolder, "/home/last");
}

TEST_F(FileCommands, TheDialogChoosesItsFolderWhenNoneIsStored) {
  ChooseCodeAndDataFile(Context);
  ASSERT_EQ(FileDialogs.Requests.size(), 1U);
  EXPECT_EQ(FileDialogs.Requests[0].StartFolder, "");
}

TEST_F(FileCommands, AChoiceSetsBothNames) {
  FileDialogs.Choice = "/home/files/other.rom";
  EXPECT_TRUE(ChooseCodeAndDataFile(Context));
  EXPECT_EQ(State.CodeFileName, "/home/files/other.rom");
  EXPECT_EQ(State.DataFileName, "/home/files/other.eep");
}

TEST_F(FileCommands, ACancelledDialogChangesNothing) {
  SetCodeAndDataFile(Context, kCodePath);
  EXPECT_FALSE(ChooseCodeAndDataFile(Context));
  EXPECT_EQ(State.CodeFileName, kCodePath);
  EXPECT_EQ(State.DataFileName, kDataPath);
  EXPECT_TRUE(TakeJournal().empty());
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
  EXPECT_EQ(FlashBytes(0, 2), "94 0C");
  EXPECT_EQ(EepromBytes(0, 2), "12 34");
}

TEST_F(FileCommands, EachBufferIsBlankedBeforeItsFileIsRead) {
  PutPair();
  FillBuffers();
  Load();
  EXPECT_EQ(State.FlashBuffer[2], 0xFF);
  EXPECT_EQ(State.FlashBuffer[65536], 0xFF);
  EXPECT_EQ(State.EepromBuffer[2], 0xFF);
  EXPECT_EQ(State.EepromBuffer[2048], 0xFF);
}

TEST_F(FileCommands, TheStepsOfAnOpenComeInThisOrder) {
  PutPair();
  Load();
  EXPECT_EQ(TakeJournal(),
            (Journal{"panel 1 Program : /home/files/prog.hex", kTrace, "read /home/files/prog.hex",
                     "write /app/avrhex.txt", "load flash view",
                     "store Settings/OPEN_DIR /home/files", "panel 1 EEPROM : /home/files/prog.eep",
                     kTrace, "read /home/files/prog.eep", "write /app/avreep.txt",
                     "load EEPROM view", "panel 1 ファイルをオープンしました。", kTrace}));
}

TEST_F(FileCommands, TheTextsOfAnOpenAreTraced) {
  PutPair();
  Load();
  EXPECT_EQ(NewTrace(), (Texts{"Program : /home/files/prog.hex", "EEPROM : /home/files/prog.eep",
                               "ファイルをオープンしました。"}));
}

TEST_F(FileCommands, AnOpenThatWentWellShowsNoMessage) {
  PutPair();
  Load();
  EXPECT_TRUE(Dialog.Shown.empty());
  EXPECT_TRUE(Boxes.Boxes.empty());
}

TEST_F(FileCommands, TheDumpsShowTheLoadedFiles) {
  PutPair();
  Load();
  EXPECT_EQ(Files.Files["/app/avrhex.txt"], FlashDump(State));
  EXPECT_EQ(Files.Files["/app/avreep.txt"], EepromDump(State));
  EXPECT_TRUE(FileText("avrhex.txt").starts_with("0000: 940C FFFF "));
  EXPECT_TRUE(FileText("avreep.txt").starts_with("0000: 12 34 FF "));
}

TEST_F(FileCommands, TheFolderOfTheCodeFileIsStored) {
  PutPair();
  Load();
  EXPECT_EQ(Stored("OPEN_DIR"), "/home/files");
}

TEST_F(FileCommands, ANameWithoutAFolderStoresNoFolder) {
  Put("prog.hex", kCode);
  Load("prog.hex");
  EXPECT_EQ(Stored("OPEN_DIR"), "");
}

TEST_F(FileCommands, NamesInUpperCaseAreAccepted) {
  for (const char* path :
       {"/home/prog.HEX", "/home/prog.rom", "/home/prog.Rom", "/home/prog.ROM"}) {
    Put(path, kCode);
    FillBuffers();
    const OpenReport report = Load(path);
    EXPECT_TRUE(report.KnownExtension) << path;
    EXPECT_EQ(State.FlashBuffer[0], 0x94) << path;
    EXPECT_EQ(State.DataFileName, "/home/prog.eep");
    EXPECT_EQ(State.StatusText, "ファイルをオープンしました。");
  }
}

TEST_F(FileCommands, AReloadReadsTheSameNamesAgainWithoutADialog) {
  PutPair();
  Load();
  Put(kCodePath, ":020000000D945D\r\n");
  const OpenReport report = LoadCodeAndDataFile(Context);
  EXPECT_EQ(report.Code.End, HexReadEnd::Complete);
  EXPECT_EQ(State.FlashBuffer[1], 0x0D);
  EXPECT_TRUE(FileDialogs.Requests.empty());
}

// No data file.

TEST_F(FileCommands, WithoutADataFileTheEepromIsBlankAndThatIsSaid) {
  Put(kCodePath, kCode);
  FillBuffers();
  const OpenReport report = Load();
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_EQ(NewTrace(),
            (Texts{"Program : /home/files/prog.hex", "EEPROM memory : Not found EEP file",
                   "ファイルをオープンしました。"}));
}

TEST_F(FileCommands, WithoutADataFileTheStepsAreTheSameButForTheRead) {
  Put(kCodePath, kCode);
  Load();
  EXPECT_EQ(
      TakeJournal(),
      (Journal{"panel 1 Program : /home/files/prog.hex", kTrace, "read /home/files/prog.hex",
               "write /app/avrhex.txt", "load flash view", "store Settings/OPEN_DIR /home/files",
               "panel 1 EEPROM memory : Not found EEP file", kTrace, "write /app/avreep.txt",
               "load EEPROM view", "panel 1 ファイルをオープンしました。", kTrace}));
  EXPECT_TRUE(FileText("avreep.txt").starts_with("0000: FF FF "));
}

// No code file.

TEST_F(FileCommands, WithoutACodeFileTheFlashIsBlankedAndAMessageSaysWhy) {
  Put(kDataPath, kData);
  FillBuffers();
  const OpenReport report = Load();
  EXPECT_FALSE(report.CodeFileFound);
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_EQ(State.EepromBuffer[0], 0x42) << "the data file is not looked at";
  EXPECT_EQ(TakeJournal(),
            (Journal{"panel 1 Program : Not found HEX file", kTrace, "write /app/avrhex.txt",
                     "load flash view", "notice " + std::string(kNotOpened), kTrace}));
  EXPECT_EQ(Dialog.Mode, MessageMode::Notice);
  EXPECT_TRUE(FileText("avrhex.txt").starts_with("0000: FFFF "));
}

TEST_F(FileCommands, WithoutACodeFileTheFolderStaysAsItWas) {
  Store("OPEN_DIR", "/before");
  Load();
  EXPECT_EQ(Stored("OPEN_DIR"), "/before");
}

TEST_F(FileCommands, AReloadWithNothingOpenedSaysSoAndLeavesTheBuffersAlone) {
  FillBuffers();
  const OpenReport report = LoadCodeAndDataFile(Context);
  EXPECT_FALSE(report.CodeFileFound);
  EXPECT_FALSE(report.DataFileReached);
  EXPECT_THAT(NewTrace(), ElementsAre(StartsWith("再ロードするファイル名 ： ?\r\n")));
  EXPECT_EQ(State.FlashBuffer[0], 0x41);
  EXPECT_EQ(State.EepromBuffer[0], 0x42);
  EXPECT_TRUE(StatusBar.History.empty());
}

TEST_F(FileCommands, AMissingCodeFileIsReportedAsMissingWhateverItsExtension) {
  Load("/home/files/none.txt");
  EXPECT_EQ(State.StatusText, "Program : Not found HEX file");
  EXPECT_EQ(Dialog.Text, kNotOpened);
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
  EXPECT_EQ(Dialog.Text, text);
  EXPECT_EQ(Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(NewTrace(), Texts{text});
}

TEST_F(FileCommands, AnotherExtensionLeavesBuffersStatusAndFolderAlone) {
  Put("/home/files/prog.bin", kCode);
  FillBuffers();
  Load("/home/files/prog.bin");
  EXPECT_EQ(State.FlashBuffer[0], 0x41);
  EXPECT_EQ(State.EepromBuffer[0], 0x42);
  EXPECT_TRUE(StatusBar.History.empty());
  for (const std::string& entry : TakeJournal()) {
    EXPECT_TRUE(entry == kTrace || entry.starts_with("notice ")) << entry;
  }
  EXPECT_EQ(Stored("OPEN_DIR"), "(missing)");
}

TEST_F(FileCommands, AnEmptyNameIsShownAsAQuestionMark) {
  // A system may find a file for the empty name, its folder: it is never looked for.
  Put("", kCode);
  State.CodeFileName = "";
  LoadCodeAndDataFile(Context);
  EXPECT_EQ(Dialog.Text,
            "再ロードするファイル名 ： ?\r\n"
            "再ロードするファイルが未指定です。 一度、メニューバーのファイルからＨＥＸファイルを"
            "開くと自動的にファイル名が指定されます。");
}

// File errors.

TEST_F(FileCommands, ACodeFileThatCannotBeReadEndsTheOpenThere) {
  Files.Unreadable[kCodePath] = "Permission denied";
  Put(kDataPath, kData);
  FillBuffers();
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::NotOpened);
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_EQ(NewTrace(), (Texts{"Program : /home/files/prog.hex", kNotOpened, Dialog.Detail}));
  EXPECT_EQ(Stored("OPEN_DIR"), "(missing)");
  EXPECT_TRUE(FlashIs(0xFF)) << "it was blanked before the read";
  EXPECT_EQ(State.EepromBuffer[0], 0x42);
}

TEST_F(FileCommands, AFileErrorIsExplainedInJapaneseWhereTheCauseIsKnown) {
  Files.Unreadable[kCodePath] = "Permission denied";
  Files.Cause = platform::FailureCause::AccessDenied;
  Load();
  EXPECT_EQ(Dialog.Detail,
            "/home/files/prog.hex\r\nアクセスする権限がありません。(Permission denied)");
}

TEST_F(FileCommands, AFileErrorIsExplainedWithThePathAndTheSystemsWords) {
  Files.Unreadable[kCodePath] = "Permission denied";
  Load();
  EXPECT_EQ(Dialog.Text, kNotOpened);
  EXPECT_EQ(Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(Dialog.Detail, "/home/files/prog.hex\r\nPermission denied");
}

TEST_F(FileCommands, ADataFileThatCannotBeReadLeavesTheCodeLoadedAndIsExplained) {
  Put(kCodePath, kCode);
  Files.Unreadable[kDataPath] = "Input/output error";
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::NotOpened);
  EXPECT_EQ(State.FlashBuffer[0], 0x94);
  EXPECT_EQ(Dialog.Detail, "/home/files/prog.eep\r\nInput/output error");
  EXPECT_EQ(State.StatusText, "EEPROM : /home/files/prog.eep");
  EXPECT_EQ(Stored("OPEN_DIR"), "/home/files");
}

TEST_F(FileCommands, ADataAddressBeyondTheBufferEndsTheOpenAndNamesTheLine) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0100000042BD\r\n:01080100ABCB\r\n");
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::OutsideBuffer);
  EXPECT_EQ(State.EepromBuffer[0], 0x42);
  EXPECT_EQ(Dialog.Text, kNotOpened);
  EXPECT_TRUE(Dialog.Detail.starts_with("/home/files/prog.eep\r\n2行目")) << Dialog.Detail;
  EXPECT_NE(State.StatusText, "ファイルをオープンしました。");
}

TEST_F(FileCommands, ACodeAddressBeyondTheBufferEndsTheOpenBeforeTheDataFile) {
  Put(kCodePath, ":02FFFF000102FD\r\n");
  Put(kDataPath, kData);
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::OutsideBuffer);
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_EQ(Stored("OPEN_DIR"), "(missing)");
  EXPECT_EQ(State.StatusText, "Program : /home/files/prog.hex");
}

TEST_F(FileCommands, AfterAFileErrorTheViewsShowWhatTheBuffersHold) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0100000042BD\r\n:01080100ABCB\r\n");
  Load();
  EXPECT_EQ(Files.Files["/app/avrhex.txt"], FlashDump(State));
  EXPECT_EQ(Files.Files["/app/avreep.txt"], EepromDump(State));
  EXPECT_TRUE(FileText("avreep.txt").starts_with("0000: 42 FF "));
}

TEST_F(FileCommands, ABadLineInTheCodeFileIsNoFileErrorButTheDataFileThenFailsAtItsOpen) {
  Put(kCodePath, ":020000000C945E\r\n\r\n");
  Put(kDataPath, kData);
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::BadLine);
  EXPECT_EQ(report.Data.End, HexReadEnd::NotOpened);
  EXPECT_EQ(State.FlashBuffer[0], 0x94);
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_EQ(Stored("OPEN_DIR"), "/home/files");
  EXPECT_EQ(NewTrace(), (Texts{"Program : /home/files/prog.hex", "HEX ファイルのオープンエラー",
                               "EEPROM : /home/files/prog.eep", kNotOpened, Dialog.Detail}));
}

TEST_F(FileCommands, ABadLineInTheCodeFileWithoutADataFileLetsTheOpenEndAsUsual) {
  Put(kCodePath, "bad\r\n");
  Load();
  EXPECT_EQ(State.StatusText, "ファイルをオープンしました。");
}

TEST_F(FileCommands, ABadLineInTheDataFileLetsTheOpenEndAsUsual) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0100000042BD\r\nbad\r\n");
  const OpenReport report = Load();
  EXPECT_EQ(report.Data.End, HexReadEnd::BadLine);
  EXPECT_EQ(State.EepromBuffer[0], 0x42);
  EXPECT_EQ(NewTrace(), (Texts{"Program : /home/files/prog.hex", "EEPROM : /home/files/prog.eep",
                               "EEP  ファイルのオープンエラー", "ファイルをオープンしました。"}));
}

TEST_F(FileCommands, AfterABadLineEveryLaterOpenFailsAndSaysWhy) {
  Put(kCodePath, "bad\r\n");
  Load();
  PutPair();
  NewTrace();
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::NotOpened);
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_EQ(NewTrace(), (Texts{"Program : /home/files/prog.hex", kNotOpened, Dialog.Detail}));
  EXPECT_EQ(Dialog.Text, kNotOpened);
  EXPECT_TRUE(Dialog.Detail.starts_with("/home/files/prog.hex\r\n"));
  EXPECT_THAT(Dialog.Detail, HasSubstr("再起動")) << "the cure";
}

TEST(OpenReport, KnowsNothingBeforeAnOpen) {
  const OpenReport report;
  EXPECT_FALSE(report.CodeFileFound || report.KnownExtension);
  EXPECT_FALSE(report.DataFileReached || report.DataFileFound);
}

TEST_F(FileCommands, AnAddressOutsideTheBufferIsToldWithItsLineAndBothViewsAreShown) {
  PutPair();
  Put(kCodePath, std::string(kCode) + ":04FFFF000102030400\r\n");
  FillBuffers();
  TakeJournal();
  Load();
  EXPECT_THAT(Dialog.Detail, AllOf(StartsWith(kCodePath),
                                   EndsWith("\n3行目のアドレスがバッファの範囲を超えています。"
                                            "選択したデバイス用のファイルか確認してください。")));
  EXPECT_THAT(TakeJournal(), AllOf(Contains("load flash view"), Contains("load EEPROM view")));
}

TEST_F(FileCommands, WrongDigitsAndChecksumsDoNotStopAnOpen) {
  Put(kCodePath, ":020000000c9400\r\n:020002000D9400\r\n");
  const OpenReport report = Load();
  EXPECT_EQ(report.Code.End, HexReadEnd::Complete);
  EXPECT_EQ(Codes(report.Code.Check),
            (Texts{"bad-digit@1", "wrong-checksum@2", "no-end-record@0"}));
  EXPECT_EQ(State.StatusText, "ファイルをオープンしました。");
  EXPECT_TRUE(Dialog.Shown.empty());
}

TEST_F(FileCommands, ADumpThatTheDiscRefusesStopsNothing) {
  PutPair();
  Files.Refused = {"/app/avrhex.txt"};
  SetCodeAndDataFile(Context, kCodePath);
  EXPECT_EQ(ops::RunCommand(Context, [&](core::RunContext&) { LoadCodeAndDataFile(Context); }),
            CommandEnding::Finished);
  EXPECT_EQ(Stored("OPEN_DIR"), "/home/files");
  EXPECT_EQ(Views.Texts[View::Flash], FlashDump(State));
  EXPECT_EQ(State.StatusText, "ファイルをオープンしました。");
}

// Code alone.

TEST_F(FileCommands, TheDialogForACodeFileHasItsTitleFilterExtensionAndFolder) {
  Store("OPEN_DIR", "/home/last");
  Store("SAVE_DIR", "/home/saved");
  EXPECT_FALSE(ChooseCodeFile(Context));
  ASSERT_EQ(FileDialogs.Requests.size(), 1U);
  const screen::FileDialogRequest& request = FileDialogs.Requests[0];
  EXPECT_EQ(request.Title, "コードファイル(*.hex)を開く");
  EXPECT_EQ(request.Filter, "Hex File|*.hex;*.rom|All Files|*.*|");
  EXPECT_EQ(request.DefaultExtension, "hex;rom");
  EXPECT_EQ(request.StartFolder, "/home/last");
}

TEST_F(FileCommands, AChosenCodeFileLeavesTheDataFilesNameAlone) {
  State.DataFileName = "/before.eep";
  FileDialogs.Choice = kCodePath;
  EXPECT_TRUE(ChooseCodeFile(Context));
  EXPECT_EQ(State.CodeFileName, kCodePath);
  EXPECT_EQ(State.DataFileName, "/before.eep");
}

TEST_F(FileCommands, ACancelledCodeDialogChangesNothing) {
  State.CodeFileName = "/before.hex";
  EXPECT_FALSE(ChooseCodeFile(Context));
  EXPECT_EQ(State.CodeFileName, "/before.hex");
}

TEST_F(FileCommands, TheStepsOfOpeningACodeFileComeInThisOrder) {
  PutPair();
  FillBuffers();
  const OpenReport report = LoadCode();
  EXPECT_TRUE(report.CodeFileFound);
  EXPECT_TRUE(report.KnownExtension);
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_EQ(report.Code.Check.Share.Given, 1);
  EXPECT_EQ(TakeJournal(), (Journal{"panel 1 Program : /home/files/prog.hex", kTrace,
                                    "read /home/files/prog.hex", "write /app/avrhex.txt",
                                    "load flash view", "store Settings/OPEN_DIR /home/files"}));
  EXPECT_EQ(State.FlashBuffer[0], 0x94);
  EXPECT_EQ(State.FlashBuffer[2], 0xFF) << "blanked before";
  EXPECT_EQ(State.EepromBuffer[0], 0x42) << "the EEPROM is not touched";
  EXPECT_EQ(State.CodeFileName, kCodePath);
}

TEST_F(FileCommands, ACodeFileAloneMayHaveItsExtensionInAnyCase) {
  for (const char* path : {"/home/a.HEX", "/home/a.Rom", "/home/a b \"c\" 日本.hex"}) {
    Put(path, kCode);
    FillBuffers();
    LoadCode(path);
    EXPECT_EQ(State.FlashBuffer[0], 0x94) << path;
    EXPECT_EQ(State.StatusText, "Program : " + std::string(path));
  }
}

TEST_F(FileCommands, ACodeFileThatIsNotThereIsPassedOverAndKeepsItsName) {
  FillBuffers();
  const OpenReport report = LoadCode("/home/gone.hex");
  EXPECT_FALSE(report.CodeFileFound);
  EXPECT_TRUE(TakeJournal().empty());
  EXPECT_EQ(State.FlashBuffer[0], 0x41);
  EXPECT_EQ(State.CodeFileName, "/home/gone.hex");
}

TEST_F(FileCommands, ACodeFileWithAnotherExtensionIsPassedOver) {
  Put("/home/prog.bin", kCode);
  FillBuffers();
  const OpenReport report = LoadCode("/home/prog.bin");
  EXPECT_TRUE(report.CodeFileFound);
  EXPECT_FALSE(report.KnownExtension);
  EXPECT_TRUE(TakeJournal().empty());
  EXPECT_EQ(State.FlashBuffer[0], 0x41);
}

TEST_F(FileCommands, ACodeFileThatCannotBeReadForgetsItsNameAndIsReportedInAMessageBox) {
  Files.Unreadable[kCodePath] = "Permission denied";
  const OpenReport report = LoadCode();
  EXPECT_EQ(report.Code.End, HexReadEnd::NotOpened);
  EXPECT_EQ(report.Code.Reason, "Permission denied");
  EXPECT_EQ(State.CodeFileName, "");
  EXPECT_THAT(Boxes.Boxes, ElementsAre(Box{MessageIcon::Information, "", kNotOpened}));
  EXPECT_TRUE(Dialog.Shown.empty());
  EXPECT_EQ(Stored("OPEN_DIR"), "(missing)");
}

TEST_F(FileCommands, ACodeAddressBeyondTheBufferForgetsTheNameAndTheViewShowsWhatWasRead) {
  Put(kCodePath, ":020000000C945E\r\n:02FFFF000102FD\r\n");
  const OpenReport report = LoadCode();
  EXPECT_EQ(report.Code.End, HexReadEnd::OutsideBuffer);
  EXPECT_EQ(State.CodeFileName, "");
  EXPECT_EQ(TakeJournal(),
            (Journal{"panel 1 Program : /home/files/prog.hex", kTrace, "read /home/files/prog.hex",
                     "write /app/avrhex.txt", "load flash view", "message box"}));
  EXPECT_TRUE(FileText("avrhex.txt").starts_with("0000: 940C FFFF "));
}

TEST_F(FileCommands, ATraceThatTheDiscRefusesForgetsTheNameOfACodeFileAloneToo) {
  Put(kCodePath, kCode);
  Files.Refused = {"/app/_debug_avr.txt"};
  State.CodeFileName = kCodePath;
  EXPECT_EQ(ops::RunCommand(Context, [&](core::RunContext&) { LoadCodeFile(Context); }),
            CommandEnding::FileError);
  EXPECT_EQ(State.CodeFileName, "");
  ASSERT_EQ(Boxes.Boxes.size(), 2U);
  EXPECT_EQ(Boxes.Boxes[0].Text, kNotOpened);
  EXPECT_THAT(Boxes.Boxes[1].Text, HasSubstr("/app/_debug_avr.txt")) << "the cause";
  EXPECT_EQ(Stored("OPEN_DIR"), "(missing)");
}

TEST_F(FileCommands, ACodeFileThatVanishesBehindTheDialogIsPassedOver) {
  FileDialogs.Choice = kCodePath;
  EXPECT_TRUE(ChooseCodeFile(Context));
  EXPECT_FALSE(LoadCodeFile(Context).CodeFileFound);
  EXPECT_TRUE(TakeJournal().empty());
}

TEST_F(FileCommands, TheDataFilesTurnIsReported) {
  PutPair();
  EXPECT_TRUE(Load().DataFileReached);
  Files.Files.erase(kDataPath);
  EXPECT_TRUE(Load().DataFileReached);
  EXPECT_TRUE(LoadDataFile(Context).DataFileReached);
  EXPECT_FALSE(LoadCodeFile(Context).DataFileReached);
  Files.Unreadable[kCodePath] = "Permission denied";
  EXPECT_FALSE(Load().DataFileReached);
  EXPECT_FALSE(Load("/home/files/none.hex").DataFileReached);
}

TEST_F(FileCommands, ABadLineInACodeFileAloneIsNoFileError) {
  Put(kCodePath, ":020000000C945E\r\nbad\r\n");
  EXPECT_EQ(LoadCode().Code.End, HexReadEnd::BadLine);
  EXPECT_EQ(State.CodeFileName, kCodePath);
  EXPECT_TRUE(Boxes.Boxes.empty());
  EXPECT_EQ(Stored("OPEN_DIR"), "/home/files");
  EXPECT_EQ(State.StatusText, "HEX ファイルのオープンエラー");
}

TEST_F(FileCommands, AfterABadLineOpeningACodeFileFailsInAMessageBox) {
  PutPair();
  State.HexFileLeftOpen = true;
  LoadCode();
  EXPECT_EQ(State.CodeFileName, "");
  EXPECT_THAT(Boxes.Texts(), ElementsAre(kNotOpened));
}

// Data alone.

TEST_F(FileCommands, TheDialogForADataFileHasItsTitleFilterExtensionAndFolder) {
  Store("OPEN_DIR", "/home/last");
  Store("SAVE_DIR", "/home/saved");
  EXPECT_FALSE(ChooseDataFile(Context));
  ASSERT_EQ(FileDialogs.Requests.size(), 1U);
  const screen::FileDialogRequest& request = FileDialogs.Requests[0];
  EXPECT_EQ(request.Title, "データファイル(*.eep)を開く");
  EXPECT_EQ(request.Filter, "eep File|*.eep|All Files|*.*|");
  EXPECT_EQ(request.DefaultExtension, "eep");
  EXPECT_EQ(request.StartFolder, "/home/last");
}

TEST_F(FileCommands, AChosenDataFileGetsItsExtensionAndLeavesTheCodeFilesNameAlone) {
  State.CodeFileName = "/before.hex";
  FileDialogs.Choice = "/home/files/data.txt";
  EXPECT_TRUE(ChooseDataFile(Context));
  EXPECT_EQ(State.DataFileName, "/home/files/data.eep");
  EXPECT_EQ(State.CodeFileName, "/before.hex");
}

TEST_F(FileCommands, ACancelledDataDialogChangesNothing) {
  State.DataFileName = "/before.eep";
  EXPECT_FALSE(ChooseDataFile(Context));
  EXPECT_EQ(State.DataFileName, "/before.eep");
}

TEST_F(FileCommands, TheStepsOfOpeningADataFileComeInThisOrder) {
  PutPair();
  FillBuffers();
  const OpenReport report = LoadData();
  EXPECT_FALSE(report.CodeFileFound);
  EXPECT_TRUE(report.DataFileFound);
  EXPECT_EQ(report.Data.Check.Share.Given, 2);
  EXPECT_EQ(TakeJournal(),
            (Journal{"panel 1 EEPROM : /home/files/prog.eep", kTrace, "read /home/files/prog.eep",
                     "write /app/avreep.txt", "load EEPROM view"}));
  EXPECT_EQ(State.EepromBuffer[0], 0x12);
  EXPECT_EQ(State.EepromBuffer[2], 0xFF) << "blanked before";
  EXPECT_EQ(State.FlashBuffer[0], 0x41) << "the flash is not touched";
}

TEST_F(FileCommands, ADataFileThatIsNotThereBlanksTheEepromAndSaysSo) {
  FillBuffers();
  const OpenReport report = LoadData();
  EXPECT_FALSE(report.DataFileFound);
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_EQ(TakeJournal(), (Journal{"panel 1 EEPROM memory : Not found EEP file", kTrace,
                                    "write /app/avreep.txt", "load EEPROM view"}));
}

TEST_F(FileCommands, ADataFileAloneThatCannotBeReadIsExplained) {
  Files.Unreadable[kDataPath] = "Input/output error";
  FillBuffers();
  const OpenReport report = LoadData();
  EXPECT_EQ(report.Data.End, HexReadEnd::NotOpened);
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_EQ(Dialog.Text, kNotOpened);
  EXPECT_EQ(Dialog.Detail, "/home/files/prog.eep\r\nInput/output error");
  EXPECT_TRUE(Boxes.Boxes.empty());
}

TEST_F(FileCommands, ADataAddressBeyondTheBufferNamesTheLineAndTheViewShowsWhatWasRead) {
  Put(kDataPath, ":0100000042BD\r\n:01080100ABCB\r\n");
  LoadData();
  EXPECT_TRUE(Dialog.Detail.starts_with("/home/files/prog.eep\r\n2行目")) << Dialog.Detail;
  EXPECT_TRUE(FileText("avreep.txt").starts_with("0000: 42 FF "));
}

TEST_F(FileCommands, ABadLineInADataFileAloneIsNoFileError) {
  Put(kDataPath, ":0100000042BD\r\nbad\r\n");
  EXPECT_EQ(LoadData().Data.End, HexReadEnd::BadLine);
  EXPECT_TRUE(Dialog.Shown.empty());
  EXPECT_EQ(State.StatusText, "EEP  ファイルのオープンエラー");
  EXPECT_TRUE(FileText("avreep.txt").starts_with("0000: 42 FF "));
}

}  // namespace
}  // namespace fenwright::image
