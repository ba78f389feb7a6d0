#include "image/save_commands.h"

#include "image/file_commands.h"
#include "image/sample_files.h"
#include "support/test_run.h"

namespace fenwright::image {
namespace {

constexpr char kQuestionTitle[] = "ファイル保存";
constexpr char kQuestion[] = "ファイルが存在します。上書きしますか？";
constexpr char kSaved[] = "ファイルを保存しました．";

using SaveCommand = SaveReport (*)(core::RunContext&);

struct SaveCommands : Test, RecordedRun {
  SaveCommands() {
    Start("AT90S2313");
    State.FlashBuffer[0] = 0x94;
    State.EepromBuffer[0] = 0x12;
  }

  [[nodiscard]] std::string File(const std::string& path) {
    const auto file = Files.Files.find(path);
    return file == Files.Files.end() ? "(none)" : file->second;
  }
  void Put(std::string_view path) { Files.Files.insert_or_assign(std::string(path), "as it was"); }
  void Open() { SetCodeAndDataFile(Context, kCodePath); }
  SaveReport SaveAs(SaveCommand command, const std::string& path) {
    FileDialogs.Choice = path;
    return command(Context);
  }
  void ExpectRequest(SaveCommand command, const std::string& title, const std::string& filter,
                     const std::string& extension) {
    Store("SAVE_DIR", "/home/saved");
    Store("OPEN_DIR", "/home/opened");
    command(Context);
    ASSERT_EQ(FileDialogs.SaveRequests.size(), 1U);
    const screen::FileDialogRequest& request = FileDialogs.SaveRequests[0];
    EXPECT_EQ(request.Title, title);
    EXPECT_EQ(request.Filter, filter);
    EXPECT_EQ(request.DefaultExtension, extension);
    EXPECT_EQ(request.StartFolder, "/home/saved");
    EXPECT_TRUE(FileDialogs.Requests.empty());
  }
};

bool IsCodeFile(const std::string& content) { return content.starts_with(":10000000FF94FFFF"); }
bool IsDataFile(const std::string& content) { return content.starts_with(":1000000012FFFFFF"); }

// Save.

TEST_F(SaveCommands, SaveWritesBothOpenedFilesWithoutAskingAndSaysSo) {
  Open();
  Put(kCodePath);
  Put(kDataPath);
  const SaveReport report = SaveFiles(Context);
  EXPECT_EQ(report.End, SaveEnd::Written);
  EXPECT_TRUE(IsCodeFile(File(kCodePath)));
  EXPECT_TRUE(IsDataFile(File(kDataPath)));
  EXPECT_EQ(TakeJournal(), (Journal{"open /home/files/prog.hex", "open /home/files/prog.eep",
                                    "panel 1 " + std::string(kSaved), kTrace}));
  EXPECT_EQ(NewTrace(), Texts{kSaved});
  EXPECT_TRUE(FileDialogs.SaveRequests.empty());
  EXPECT_TRUE(Boxes.Questions.empty());
}

TEST_F(SaveCommands, SaveSetsBothSaveNamesAndKeepsTheOpenedNames) {
  Open();
  SaveFiles(Context);
  EXPECT_EQ(State.CodeSaveFileName, kCodePath);
  EXPECT_EQ(State.DataSaveFileName, kDataPath);
  EXPECT_EQ(State.CodeFileName, kCodePath);
  EXPECT_EQ(State.DataFileName, kDataPath);
}

TEST_F(SaveCommands, SaveStoresNoFolder) {
  Open();
  SaveFiles(Context);
  EXPECT_EQ(Stored("SAVE_DIR"), "(missing)");
}

TEST_F(SaveCommands, SaveWithNothingOpenedGivesTwoMessagesAndWritesNothing) {
  const SaveReport report = SaveFiles(Context);
  EXPECT_EQ(report.End, SaveEnd::NothingToSave);
  EXPECT_EQ(TakeJournal(), (Journal{"notice ファイルがオープンされていません．", kTrace,
                                    "panel 1 ファイルがオープンされていません", kTrace}));
  EXPECT_EQ(Dialog.Mode, MessageMode::Notice);
}

TEST_F(SaveCommands, SaveWithOnlyADataFileOpenedCountsAsNothingOpened) {
  State.DataFileName = kDataPath;
  EXPECT_EQ(SaveFiles(Context).End, SaveEnd::NothingToSave);
  EXPECT_EQ(File(kDataPath), "(none)");
}

TEST_F(SaveCommands, SaveAfterOnlyACodeFileWasOpenedReportsThatTheDataFileHasNoName) {
  State.CodeFileName = kCodePath;
  Files.Unopenable[""] = {FileResult::Status::NotFound, "No such file or directory"};
  const SaveReport report = SaveFiles(Context);
  EXPECT_EQ(report.End, SaveEnd::Failed);
  EXPECT_TRUE(report.Code);
  EXPECT_EQ(report.Data.End, HexWriteEnd::NotOpened);
  EXPECT_TRUE(IsCodeFile(File(kCodePath)));
}

TEST_F(SaveCommands, ASaveThatFailsStillWritesTheOtherFileAndShowsItsStatusText) {
  Open();
  Files.Refused = {kCodePath};
  const SaveReport report = SaveFiles(Context);
  EXPECT_EQ(report.End, SaveEnd::Failed);
  EXPECT_EQ(report.Code.End, HexWriteEnd::AccessRefused);
  EXPECT_EQ(report.Data.End, HexWriteEnd::Complete);
  EXPECT_EQ(TakeJournal(),
            (Journal{"open /home/files/prog.hex", "message box", "open /home/files/prog.eep",
                     "panel 1 " + std::string(kSaved), kTrace}));
  EXPECT_TRUE(IsDataFile(File(kDataPath)));
}

TEST_F(SaveCommands, ASaveWhoseDataFileFailsIsAFailedSave) {
  Open();
  Files.Refused = {kDataPath};
  const SaveReport report = SaveFiles(Context);
  EXPECT_EQ(report.End, SaveEnd::Failed);
  EXPECT_TRUE(report.Code);
  EXPECT_FALSE(report.Data);
}

TEST_F(SaveCommands, EachFileThatFailsHasItsOwnMessage) {
  Open();
  Files.Refused = {kCodePath, kDataPath};
  EXPECT_EQ(SaveFiles(Context).End, SaveEnd::Failed);
  EXPECT_EQ(Boxes.Boxes.size(), 2U);
}

TEST_F(SaveCommands, WhatWasSavedIsReloaded) {
  Open();
  State.FlashBuffer[2047] = 0x42;
  const auto flash = State.FlashBuffer;
  const auto eeprom = State.EepromBuffer;
  SaveFiles(Context);
  State.FlashBuffer[0] = 0;
  State.EepromBuffer[5] = 0;
  LoadCodeAndDataFile(Context);
  EXPECT_EQ(State.FlashBuffer, flash);
  EXPECT_EQ(State.EepromBuffer, eeprom);
}

TEST_F(SaveCommands, AFileThatCouldNotBeOpenedIsNotSavedOver) {
  Files.Unreadable[kCodePath] = "Permission denied";
  State.CodeFileName = kCodePath;
  LoadCodeFile(Context);
  EXPECT_EQ(SaveFiles(Context).End, SaveEnd::NothingToSave);
}

// The dialogs.

TEST_F(SaveCommands, TheDialogForACodeFileHasItsTitleFilterExtensionAndFolder) {
  ExpectRequest(SaveCodeFileAs, "コードファイル(*.hex)の保存", "Hex File|*.HEX|All Files|*.*|",
                "*.hex");
}

TEST_F(SaveCommands, TheDialogForADataFileHasItsTitleFilterExtensionAndFolder) {
  ExpectRequest(SaveDataFileAs, "データファイル(*.eep)の保存", "Eep File|*.eep|All Files|*.*|",
                "*.eep");
}

TEST_F(SaveCommands, TheDialogForBothFilesHasItsTitleFilterAndFolderAndNoExtension) {
  ExpectRequest(SaveBothFilesAs, "コードファイル ＆ データファイルの保存",
                "Hex File|*.HEX|All Files|*.*|", "");
}

TEST_F(SaveCommands, WithoutAStoredFolderTheDialogChoosesItsOwn) {
  for (const SaveCommand command : {SaveCodeFileAs, SaveDataFileAs, SaveBothFilesAs}) {
    command(Context);
    EXPECT_EQ(FileDialogs.SaveRequests.back().StartFolder, "");
  }
}

TEST_F(SaveCommands, ACancelledDialogEndsTheCommand) {
  State.CodeSaveFileName = "/before.hex";
  State.DataSaveFileName = "/before.eep";
  for (const SaveCommand command : {SaveCodeFileAs, SaveDataFileAs, SaveBothFilesAs}) {
    EXPECT_EQ(command(Context).End, SaveEnd::Declined);
    EXPECT_TRUE(TakeJournal().empty());
  }
  EXPECT_EQ(State.CodeSaveFileName, "/before.hex");
  EXPECT_EQ(State.DataSaveFileName, "/before.eep");
}

// Save as.

TEST_F(SaveCommands, SaveCodeAsWritesTheChosenFileAloneAndRemembersItsFolder) {
  const SaveReport report = SaveAs(SaveCodeFileAs, kCodePath);
  EXPECT_EQ(report.End, SaveEnd::Written);
  EXPECT_EQ(TakeJournal(),
            (Journal{"store Settings/SAVE_DIR /home/files", "open /home/files/prog.hex"}));
  EXPECT_TRUE(IsCodeFile(File(kCodePath)));
  EXPECT_EQ(File(kDataPath), "(none)");
  EXPECT_EQ(Stored("OPEN_DIR"), "(missing)");
}

TEST_F(SaveCommands, SaveCodeAsTakesTheNameAsItIs) {
  const std::string path = "/my files/a \"b\" 'c' 日本.txt";
  EXPECT_EQ(SaveAs(SaveCodeFileAs, path).End, SaveEnd::Written);
  EXPECT_TRUE(IsCodeFile(File(path)));
  EXPECT_EQ(State.CodeSaveFileName, path);
}

TEST_F(SaveCommands, SaveDataAsWritesTheDataFileAlone) {
  const SaveReport report = SaveAs(SaveDataFileAs, kDataPath);
  EXPECT_EQ(report.End, SaveEnd::Written);
  EXPECT_EQ(TakeJournal(),
            (Journal{"store Settings/SAVE_DIR /home/files", "open /home/files/prog.eep"}));
  EXPECT_TRUE(IsDataFile(File(kDataPath)));
  EXPECT_EQ(File(kCodePath), "(none)");
}

TEST_F(SaveCommands, SaveDataAsForcesTheNameToEndInEep) {
  EXPECT_EQ(SaveAs(SaveDataFileAs, "/home/files/data.txt").End, SaveEnd::Written);
  EXPECT_EQ(State.DataSaveFileName, "/home/files/data.eep");
  EXPECT_TRUE(IsDataFile(File("/home/files/data.eep")));
  EXPECT_EQ(File("/home/files/data.txt"), "(none)");
}

TEST_F(SaveCommands, SaveBothAsWritesThePair) {
  const SaveReport report = SaveAs(SaveBothFilesAs, kCodePath);
  EXPECT_EQ(report.End, SaveEnd::Written);
  EXPECT_EQ(TakeJournal(), (Journal{"store Settings/SAVE_DIR /home/files",
                                    "open /home/files/prog.hex", "open /home/files/prog.eep"}));
  EXPECT_TRUE(IsCodeFile(File(kCodePath)));
  EXPECT_TRUE(IsDataFile(File(kDataPath)));
}

TEST_F(SaveCommands, SaveAsShowsNoTextAndKeepsTheOpenedNames) {
  SetCodeAndDataFile(Context, "/in/a.hex");
  for (const SaveCommand command : {SaveCodeFileAs, SaveDataFileAs, SaveBothFilesAs}) {
    Files.Files.erase(kCodePath);
    Files.Files.erase(kDataPath);
    SaveAs(command, kCodePath);
  }
  EXPECT_EQ(State.CodeFileName, "/in/a.hex");
  EXPECT_EQ(State.DataFileName, "/in/a.eep");
  EXPECT_TRUE(NewTrace().empty());
  EXPECT_TRUE(Dialog.Shown.empty());
  EXPECT_TRUE(Boxes.Boxes.empty());
}

// Overwriting.

TEST_F(SaveCommands, AnExistingFileIsAskedAbout) {
  Put(kCodePath);
  Put(kDataPath);
  for (const SaveCommand command : {SaveCodeFileAs, SaveDataFileAs, SaveBothFilesAs}) {
    Boxes.Questions.clear();
    SaveAs(command, kCodePath);
    ASSERT_EQ(Boxes.Questions.size(), 1U);
    EXPECT_EQ(Boxes.Questions[0].first, kQuestionTitle);
    EXPECT_EQ(Boxes.Questions[0].second, kQuestion);
  }
}

TEST_F(SaveCommands, NoLeavesTheFilesAndTheFolderAsTheyWere) {
  Put(kCodePath);
  Put(kDataPath);
  Boxes.Answer = false;
  for (const SaveCommand command : {SaveCodeFileAs, SaveDataFileAs, SaveBothFilesAs}) {
    EXPECT_EQ(SaveAs(command, kCodePath).End, SaveEnd::Declined);
    EXPECT_EQ(TakeJournal(), Journal{"question"});
  }
  EXPECT_EQ(File(kCodePath), "as it was");
  EXPECT_EQ(File(kDataPath), "as it was");
}

TEST_F(SaveCommands, YesOverwrites) {
  Put(kCodePath);
  Put(kDataPath);
  Boxes.Answer = true;
  EXPECT_EQ(SaveAs(SaveCodeFileAs, kCodePath).End, SaveEnd::Written);
  EXPECT_TRUE(IsCodeFile(File(kCodePath)));
  EXPECT_EQ(File(kDataPath), "as it was");
  EXPECT_EQ(SaveAs(SaveDataFileAs, kDataPath).End, SaveEnd::Written);
  EXPECT_TRUE(IsDataFile(File(kDataPath)));
  Put(kCodePath);
  Put(kDataPath);
  EXPECT_EQ(SaveAs(SaveBothFilesAs, kCodePath).End, SaveEnd::Written);
  EXPECT_TRUE(IsCodeFile(File(kCodePath)));
  EXPECT_TRUE(IsDataFile(File(kDataPath)));
}

TEST_F(SaveCommands, SaveDataAsAsksAboutTheFinalName) {
  Put("/home/files/data.txt");
  Boxes.Answer = false;
  EXPECT_EQ(SaveAs(SaveDataFileAs, "/home/files/data.txt").End, SaveEnd::Written);
  EXPECT_TRUE(Boxes.Questions.empty());
  EXPECT_EQ(File("/home/files/data.txt"), "as it was");
  Put("/home/files/data.eep");
  EXPECT_EQ(SaveAs(SaveDataFileAs, "/home/files/data.txt").End, SaveEnd::Declined);
  EXPECT_EQ(Boxes.Questions.size(), 1U);
  EXPECT_EQ(File("/home/files/data.eep"), "as it was");
}

TEST_F(SaveCommands, SaveBothAsAsksOnceWhenEitherFileExists) {
  for (const char* existing : {kCodePath, kDataPath}) {
    SCOPED_TRACE(existing);
    Files.Files.erase(kCodePath);
    Files.Files.erase(kDataPath);
    Boxes.Questions.clear();
    Put(existing);
    Boxes.Answer = false;
    EXPECT_EQ(SaveAs(SaveBothFilesAs, kCodePath).End, SaveEnd::Declined);
    EXPECT_EQ(Boxes.Questions.size(), 1U);
    EXPECT_EQ(File(existing), "as it was");
    EXPECT_EQ(Files.Exists(kCodePath) + Files.Exists(kDataPath), 1);
  }
}

TEST_F(SaveCommands, SaveCodeAsDoesNotAskAboutTheDataFile) {
  Put(kDataPath);
  EXPECT_EQ(SaveAs(SaveCodeFileAs, kCodePath).End, SaveEnd::Written);
  EXPECT_TRUE(Boxes.Questions.empty());
}

TEST_F(SaveCommands, TheQuestionComesBeforeAnythingIsStoredOrWritten) {
  Put(kDataPath);
  Boxes.Answer = true;
  SaveAs(SaveBothFilesAs, kCodePath);
  EXPECT_EQ(TakeJournal(), (Journal{"question", "store Settings/SAVE_DIR /home/files",
                                    "open /home/files/prog.hex", "open /home/files/prog.eep"}));
}

// Failures.

TEST_F(SaveCommands, ASaveAsThatFailsIsReported) {
  Files.Refused = {kCodePath, kDataPath};
  for (const SaveCommand command : {SaveCodeFileAs, SaveDataFileAs}) {
    Boxes.Boxes.clear();
    EXPECT_EQ(SaveAs(command, kCodePath).End, SaveEnd::Failed);
    EXPECT_THAT(Boxes.Texts(), ElementsAre("リードオンリーファイルにアクセスしました。"));
  }
}

TEST_F(SaveCommands, SaveBothAsWritesTheDataFileThoughTheCodeFileFailed) {
  Files.Refused = {kCodePath};
  const SaveReport report = SaveAs(SaveBothFilesAs, kCodePath);
  EXPECT_EQ(report.End, SaveEnd::Failed);
  EXPECT_FALSE(report.Code);
  EXPECT_TRUE(report.Data);
  EXPECT_TRUE(IsDataFile(File(kDataPath)));
}

TEST_F(SaveCommands, AfterABadLineASaveAsFailsAndLeavesTheFileAlone) {
  State.HexFileLeftOpen = true;
  Put(kCodePath);
  Boxes.Answer = true;
  EXPECT_EQ(SaveAs(SaveBothFilesAs, kCodePath).End, SaveEnd::Failed);
  EXPECT_EQ(File(kCodePath), "as it was");
  EXPECT_EQ(File(kDataPath), "(none)");
  ASSERT_EQ(Boxes.Boxes.size(), 2U);
  EXPECT_EQ(Boxes.Boxes[0].Text, "ファイル保存できませんでした。");
}

}  // namespace
}  // namespace fenwright::image
