// The window on real files that are refused, cut short, gone, or oddly named.

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "image/buffer_content.h"
#include "image/old_content.h"
#include "platform/system/folder_archive.h"
#include "platform/system/text_files.h"
#include "support/process.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

namespace fs = std::filesystem;

constexpr char kCode[] = ":020000000C945E\r\n:00000001FF\r\n";
constexpr char kData[] = ":0200000011AA43\r\n:00000001FF\r\n";
constexpr char kReadOnly[] = "リードオンリーファイルにアクセスしました。";
constexpr char kNotSaved[] = "ファイル保存できませんでした。";
constexpr char kNotOpened[] = "指定されたファイルを開くことができませんでした。";

/// A dialog in which somebody chooses a file, and what happens before the program gets to it.
class ChosenFile final : public screen::FileDialogs {
 public:
  std::optional<std::string> Open(const screen::FileDialogRequest& /*request*/) override {
    if (Afterwards) Afterwards();
    return Path;
  }
  std::optional<std::string> Save(const screen::FileDialogRequest& request) override {
    return Open(request);
  }
  std::string Path;
  std::function<void()> Afterwards;
};

/// Files are refused to this thread as to a user without privileges, for the object's lifetime.
class AsOrdinaryUser {
 public:
  AsOrdinaryUser() {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0) changed_ = seteuid(kNobody) == 0;
  }
  ~AsOrdinaryUser() {
    if (changed_ && seteuid(0) != 0) std::abort();
  }
  AsOrdinaryUser(const AsOrdinaryUser&) = delete;
  AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;
  [[nodiscard]] static bool IsOne() { return geteuid() != 0; }

 private:
  bool changed_ = false;
};

/// No file grows beyond a size, as on a full disc, for the object's lifetime.
class FullDisc {
 public:
  explicit FullDisc(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{.rlim_cur = bytes, .rlim_max = before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FullDisc() { setrlimit(RLIMIT_FSIZE, &before_); }
  FullDisc(const FullDisc&) = delete;
  FullDisc& operator=(const FullDisc&) = delete;

 private:
  rlimit before_{};
};

/// Every file of a folder with its content; a folder's content is "folder".
using Snapshot = std::map<std::string, std::string>;

Snapshot SnapshotOf(const fs::path& folder) {
  Snapshot snapshot;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    snapshot[entry.path().filename().string()] =
        entry.is_directory() ? "folder" : ReadFile(entry.path().string());
  }
  return snapshot;
}

/// What the bench has of its own here; it has to be there before the bench.
struct FilesOfTheSystem {
  TemporaryFolder folder_;
  fs::path files_folder_ = folder_.Path() / "my \"files\" 'と' 資料";
  VirtualClock clock_;
  platform::SystemTextFiles files_;
  ChosenFile dialogs_;
};

/// The window, the engine and the system's files; board and clock are simulated.
class FileFaults : protected FilesOfTheSystem, public WindowTest {
 protected:
  explicit FileFaults(std::vector<board::Fault> faults = {})
      : WindowTest({.Faults = std::move(faults),
                    .Time = TimeOf(clock_),
                    .Clock = &clock_,
                    .Files = &files_,
                    .Dialogs = &dialogs_}) {
    fs::permissions(folder_.Path(), fs::perms::all);
    for (const fs::path& path : {files_folder_, folder_.Path() / "app"}) {
      fs::create_directory(path);
      fs::permissions(path, fs::perms::all);
    }
    Put("neighbour.hex", "of somebody else");
    Run.Start({.AppFolder = folder_.File("app/"), .CommandArgument = ""});
    WriteFile(folder_.File("app/_debug_avr.txt"), "");
    for (const fs::directory_entry& file : fs::directory_iterator(folder_.Path() / "app")) {
      fs::permissions(file.path(), fs::perms(0666));
    }
  }
  ~FileFaults() override { fs::permissions(files_folder_, fs::perms::all); }

  [[nodiscard]] std::string Path(const std::string& name) const {
    return (files_folder_ / name).string();
  }
  void Put(const std::string& name, const std::string& content) const {
    WriteFile(Path(name), content);
  }
  void Choose(const char* item, const std::string& name) {
    dialogs_.Path = Path(name);
    WindowBench::Choose(item);
  }
  [[nodiscard]] std::string Status() { return PanelText(Panel::Status); }
  [[nodiscard]] std::string Detail() { return MessageText("lblDetail"); }
  [[nodiscard]] Snapshot FilesNow() const { return SnapshotOf(files_folder_); }
};

TEST_F(FileFaults, AReadOnlyFileIsNamedSoAndStaysAsItWas) {
  Put("kept.hex", "precious");
  fs::permissions(Path("kept.hex"), fs::perms(0444));
  Boxes.Answer = true;
  const Snapshot before = FilesNow();
  const AsOrdinaryUser user;
  if (!AsOrdinaryUser::IsOne()) GTEST_SKIP() << "this process may write everything";
  Choose("mnuFileSaveAsCode", "kept.hex");
  EXPECT_EQ(Boxes.Shown, std::vector<std::string>{kReadOnly});
  EXPECT_EQ(FilesNow(), before);
}

TEST_F(FileFaults, AReadOnlyFolderTakesNoNewFile) {
  fs::permissions(files_folder_, fs::perms(0555));
  const Snapshot before = FilesNow();
  const AsOrdinaryUser user;
  if (!AsOrdinaryUser::IsOne()) GTEST_SKIP() << "this process may write everything";
  Choose("mnuFileSaveAs", "new.hex");
  EXPECT_EQ(Boxes.Shown, (std::vector<std::string>{kReadOnly, kReadOnly}));
  EXPECT_EQ(FilesNow(), before);
}

TEST_F(FileFaults, SavingOverReadOnlyFilesReportsEachAndEndsWithItsStatus) {
  Put("a.hex", kCode);
  Put("a.eep", kData);
  Choose("mnuFileOpen", "a.hex");
  fs::permissions(Path("a.hex"), fs::perms(0444));
  fs::permissions(Path("a.eep"), fs::perms(0444));
  const Snapshot before = FilesNow();
  const AsOrdinaryUser user;
  if (!AsOrdinaryUser::IsOne()) GTEST_SKIP() << "this process may write everything";
  Choose("mnuFileSave", "");
  EXPECT_EQ(Boxes.Shown, (std::vector<std::string>{kReadOnly, kReadOnly}));
  EXPECT_EQ(Status(), "ファイルを保存しました．");
  EXPECT_EQ(FilesNow(), before);
}

TEST_F(FileFaults, AFullDiscLeavesTheStartOfTheFileAndNothingElseChanges) {
  Choose("mnuFileSaveAsCode", "whole.hex");
  Snapshot expected = FilesNow();
  constexpr std::size_t kLimit = 1000;
  {
    const FullDisc disc(kLimit);
    Choose("mnuFileSaveAsCode", "cut.hex");
  }
  EXPECT_EQ(Boxes.Shown, std::vector<std::string>{kNotSaved});
  expected["cut.hex"] = expected["whole.hex"].substr(0, kLimit);
  EXPECT_EQ(FilesNow(), expected);
}

TEST_F(FileFaults, AFolderInPlaceOfAFileToSaveIsRefused) {
  fs::create_directory(Path("here.hex"));
  const Snapshot before = FilesNow();
  Choose("mnuFileSaveAsCode", "here.hex");
  EXPECT_TRUE(Boxes.Questions.empty()) << "a folder is no file that exists";
  EXPECT_EQ(Boxes.Shown, std::vector<std::string>{kReadOnly});
  EXPECT_EQ(FilesNow(), before);
}

TEST_F(FileFaults, AFolderInPlaceOfAFileToOpenIsNoFile) {
  fs::create_directory(Path("here.hex"));
  Choose("mnuFileOpen", "here.hex");
  EXPECT_EQ(Status(), "Program : Not found HEX file");
  EXPECT_EQ(MessageText(), kNotOpened);

  Put("prog.hex", kCode);
  fs::create_directory(Path("prog.eep"));
  Choose("mnuFileOpenData", "prog.eep");
  EXPECT_EQ(Status(), "EEPROM memory : Not found EEP file");
  Choose("mnuFileOpen", "prog.hex");
  EXPECT_EQ(Status(), "ファイルをオープンしました。");
}

TEST_F(FileFaults, AFileThatVanishesBehindTheDialogIsReportedAsMissing) {
  Put("a.hex", kCode);
  Put("a.eep", kData);
  dialogs_.Afterwards = [this] {
    fs::remove(Path("a.hex"));
    fs::remove(Path("a.eep"));
  };
  Choose("mnuFileOpen", "a.hex");
  EXPECT_EQ(Status(), "Program : Not found HEX file");
  EXPECT_EQ(MessageText(), kNotOpened);
  Choose("mnuFileOpenData", "a.eep");
  EXPECT_EQ(Status(), "EEPROM memory : Not found EEP file");
  Choose("mnuFileOpenCode", "a.hex");
  EXPECT_EQ(Status(), "EEPROM memory : Not found EEP file") << "passed over without a word";
  EXPECT_EQ(FilesNow(), (Snapshot{{"neighbour.hex", "of somebody else"}}));
}

TEST_F(FileFaults, AFolderThatVanishesBehindTheSaveDialogIsReported) {
  fs::create_directory(Path("stick"));
  dialogs_.Afterwards = [this] { fs::remove(Path("stick")); };
  Choose("mnuFileSaveAsCode", "stick/a.hex");
  EXPECT_EQ(Boxes.Shown, std::vector<std::string>{kNotSaved});
  EXPECT_EQ(FilesNow(), (Snapshot{{"neighbour.hex", "of somebody else"}}));
}

TEST_F(FileFaults, AFileThatMayNotBeReadIsReported) {
  Put("secret.hex", kCode);
  fs::permissions(Path("secret.hex"), fs::perms::none);
  const AsOrdinaryUser user;
  if (!AsOrdinaryUser::IsOne()) GTEST_SKIP() << "this process may read everything";
  Choose("mnuFileOpen", "secret.hex");
  EXPECT_EQ(Status(), "Program : " + Path("secret.hex"));
  EXPECT_EQ(MessageText(), kNotOpened);
  EXPECT_EQ(Detail().find(Path("secret.hex") + "\r\n"), 0U) << Detail();
  Choose("mnuFileOpenCode", "secret.hex");
  EXPECT_EQ(Boxes.Shown, std::vector<std::string>{kNotOpened});
  EXPECT_EQ(State().CodeFileName, "");
}

TEST_F(FileFaults, NamesMayHoldBlanksQuotesAndJapanese) {
  for (const char* name : {"a b.hex", "\"quoted\" 'name'.hex", "点滅 プログラム.HEX",
                           "100%&<b>.rom", "-option.hex", "表ソ能.hex"}) {
    SCOPED_TRACE(name);
    Choose("mnuFileSaveAs", name);
    State().FlashBuffer[0] = 0x12;
    Choose("mnuFileOpen", name);
    EXPECT_EQ(Status(), "ファイルをオープンしました。");
    EXPECT_EQ(State().FlashBuffer[0], 0xFF);
    EXPECT_EQ(State().CodeFileName, Path(name));
    const auto* info = Named<QLabel>("lblFileInfo");
    EXPECT_THAT(info->text().toStdString(), HasSubstr(name));
  }
  EXPECT_TRUE(Boxes.Shown.empty());
  EXPECT_TRUE(Boxes.Questions.empty());
  EXPECT_EQ(Settings.Read("Settings", "OPEN_DIR"), files_folder_.string());
  EXPECT_EQ(Settings.Read("Settings", "SAVE_DIR"), files_folder_.string());
}

TEST_F(FileFaults, AFileIsOverwrittenInPlaceAndKeepsItsModeAndLinks) {
  Put("real.hex", "old");
  fs::permissions(Path("real.hex"), fs::perms(0640));
  fs::create_symlink(Path("real.hex"), Path("link.hex"));
  Boxes.Answer = true;
  Choose("mnuFileSaveAsCode", "link.hex");
  EXPECT_TRUE(fs::is_symlink(Path("link.hex")));
  EXPECT_EQ(fs::status(Path("real.hex")).permissions(), fs::perms(0640));
  EXPECT_EQ(ReadFile(Path("real.hex")).find(":10000000FFFF"), 0U);
}

/// With the old content kept in a folder.
class SavedOver : public FileFaults {
 protected:
  SavedOver() {
    Run.Context().Storage.Archive = &archive_;
    Put("a.hex", kCode);
    Put("a.eep", kData);
    Choose("mnuFileOpen", "a.hex");
    Boxes.Answer = true;
  }
  /// The copies that there are, without the time in front, and what they hold.
  [[nodiscard]] Snapshot Copies() const {
    Snapshot copies;
    if (!fs::exists(backups_)) return copies;
    for (const auto& [name, content] : SnapshotOf(backups_)) {
      constexpr std::size_t kStamp = 20;
      copies[name.substr(kStamp)] = content;
    }
    return copies;
  }

  const std::string backups_ = folder_.File("data/Backups");
  platform::FolderArchive archive_{backups_, Clock};
};

TEST_F(SavedOver, FilesLeaveTheirOldContentWhateverTheySaveBy) {
  for (const char* item : {"mnuFileSave", "mnuFileSaveAs", "mnuFileSaveAsCode"}) {
    SCOPED_TRACE(item);
    fs::remove_all(backups_);
    Put("a.hex", kCode);
    Choose(item, "a.hex");
    EXPECT_EQ(Copies().at("a.hex"), kCode);
    EXPECT_EQ(image::LastCopyOf(State(), Path("a.hex")).find(backups_), 0U);
  }
  Put("a.eep", kData);
  fs::remove_all(backups_);
  Choose("mnuFileSaveAsData", "a.eep");
  EXPECT_EQ(Copies(), (Snapshot{{"a.eep", kData}}));
  EXPECT_TRUE(Boxes.Shown.empty());
}

/// The status text is cut at the window's first size, and goes with the next command.
TEST_F(SavedOver, BlankBuffersSavedOverFilesLeaveTheWayBackInThePanelUntilTheNextOpening) {
  const std::string way_back =
      "\n⚠ a.hex と a.eep は空の内容になりました。元の内容は Backups にあります。";
  Choose("mnuPC_buffer_clear", "");
  EXPECT_THAT(image::DescribeContent(State()), Not(HasSubstr(way_back)));
  Choose("mnuFileSave", "");
  EXPECT_THAT(image::DescribeContent(State()), HasSubstr(way_back));
  Put("a.hex", kCode);
  Put("a.eep", kData);
  Choose("mnuFileOpen", "a.hex");
  EXPECT_THAT(image::DescribeContent(State()), Not(HasSubstr(way_back)));
}

TEST_F(SavedOver, ANewFileLeavesNone) {
  Choose("mnuFileSaveAs", "new.hex");
  EXPECT_EQ(Copies(), Snapshot{});
  EXPECT_FALSE(fs::exists(backups_));
}

TEST_F(SavedOver, AFullDiscLeavesTheOldContentAndTheMessageSaysWhere) {
  constexpr std::size_t kLimit = 1000;
  {
    const FullDisc disc(kLimit);
    Choose("mnuFileSaveAsCode", "a.hex");
  }
  EXPECT_EQ(Boxes.Shown, std::vector<std::string>{kNotSaved});
  const std::string copy = image::LastCopyOf(State(), Path("a.hex"));
  EXPECT_EQ(Boxes.Details, std::vector<std::string>{
                               "保存する前の内容は次のファイルに残してあります。\r\n" + copy});
  EXPECT_EQ(ReadFile(copy), kCode);
  EXPECT_EQ(ReadFile(Path("a.hex")).size(), kLimit);
}

TEST_F(SavedOver, AFileThatIsRefusedIsAsItWas) {
  fs::permissions(Path("a.hex"), fs::perms(0444));
  // Only whoever may do everything made the folder so far.
  fs::create_directories(backups_);
  fs::permissions(backups_, fs::perms::all);
  fs::permissions(folder_.Path() / "data", fs::perms::all);
  const AsOrdinaryUser user;
  if (!AsOrdinaryUser::IsOne()) GTEST_SKIP() << "this process may write everything";
  Choose("mnuFileSaveAsCode", "a.hex");
  EXPECT_EQ(Boxes.Shown, std::vector<std::string>{kReadOnly});
  EXPECT_EQ(Boxes.Details, std::vector<std::string>{"元のファイルはそのままです。"});
  EXPECT_EQ(ReadFile(Path("a.hex")), kCode);
  EXPECT_EQ(Copies(), Snapshot{});
}

TEST_F(SavedOver, WithoutAPlaceForTheCopyTheSaveGoesOnAndTheFileBoxSaysIt) {
  WriteFile(folder_.File("data"), "a file in the folder's place");
  Choose("mnuFileSaveAsCode", "a.hex");
  EXPECT_TRUE(Boxes.Shown.empty());
  EXPECT_EQ(ReadFile(Path("a.hex")).find(":10000000"), 0U);
  EXPECT_THAT(FileInfo(), HasSubstr("\n⚠ a.hex : 保存する前の内容を残せませんでした。"));
  fs::remove(folder_.File("data"));
  Choose("mnuFileSaveAsCode", "a.hex");
  EXPECT_THAT(FileInfo(), Not(HasSubstr("残せません")));
}

/// The fourth word of the flash is not answered: reply 15.
class TimeoutInMidRead : public FileFaults {
 protected:
  TimeoutInMidRead() : FileFaults({MakeFault("drop@15")}) {}
};

TEST_F(TimeoutInMidRead, EndsTheReadKeepsTheRestAndTouchesNoFile) {
  Put("a.hex", kCode);
  Put("a.eep", kData);
  Choose("mnuFileOpen", "a.hex");
  const Snapshot before = FilesNow();
  const std::string eeprom_dump = ReadFile(folder_.File("app/avreep.txt"));

  Press("Cmd_btn_read");

  EXPECT_EQ(Status(), "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R");
  EXPECT_EQ(MessageText(), "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R");
  EXPECT_EQ(Detail(),
            "フラッシュはワード 0x0002 まで読み出し済み、残りのバッファは元のままです。"
            "もう一度リードしてください。\nコード: no-reply");
  EXPECT_EQ(PanelText(Panel::Elapsed), "5秒");
  EXPECT_EQ(State().FlashBuffer[0], 0xFF) << "the blank chip's word, over the file's";
  EXPECT_EQ(State().EepromBuffer[0], 0x11);
  EXPECT_EQ(FilesNow(), before);
  EXPECT_EQ(ReadFile(folder_.File("app/avreep.txt")), eeprom_dump);
  EXPECT_TRUE(Named<QPushButton>("Cmd_btn_read")->isEnabled());

  Press("Cmd_btn_read");
  EXPECT_EQ(Status(), "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。");
}

TEST_F(FileFaults, ADumpThatTheDiscRefusesShowsWhatWasReadAndSaysSo) {
  const Snapshot before = FilesNow();
  {
    // The trace goes on: only the dump is larger than this.
    const FullDisc disc(ReadFile(folder_.File("app/avrhex.txt")).size() - 1);
    Press("Cmd_btn_read");
  }
  EXPECT_THAT(Boxes.Shown, ::testing::IsEmpty());
  EXPECT_EQ(Status(), "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。");
  EXPECT_EQ(State().FlashBuffer[0], 0xFF);
  EXPECT_THAT(Named<QLabel>("lblFileInfo")->text().toStdString(),
              HasSubstr("⚠ avrhex.txt を書き込めません。表示はメモリーの内容です。"
                        "(ファイルが大きすぎます。(File too large))"));
  EXPECT_EQ(FilesNow(), before);
  EXPECT_FALSE(State().CommandRunning);
}

}  // namespace
}  // namespace fenwright::ui
