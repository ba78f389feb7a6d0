#include "platform/system/folder_archive.h"

#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

namespace fs = std::filesystem;

/// A time of day that a test sets.
class SetClock final : public Clock {
 public:
  double SecondsSinceMidnight() override { return 0; }
  DateTime Now() override { return Time; }
  void Sleep(double /*seconds*/) override {}

  DateTime Time{.Year = 2005, .Month = 3, .Day = 14, .Hour = 12, .Minute = 34, .Second = 56};
};

class Backups : public TheSystemsFiles {
 protected:
  /// Keeps a file of that content; the name of the copy.
  std::string Keep(const std::string& name, const std::string& content) {
    Make(Path(name), content);
    std::string copy;
    const FileResult result = archive_.Keep(Path(name), copy);
    EXPECT_TRUE(result) << result.Reason;
    return fs::path(copy).filename().string();
  }
  [[nodiscard]] std::set<std::string> Copies() const {
    std::set<std::string> names;
    if (!fs::exists(Folder())) return names;
    for (const auto& entry : fs::directory_iterator(Folder())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }
  [[nodiscard]] std::string Folder() const { return Path("data/of the program/Backups"); }
  [[nodiscard]] std::string InFolder(const std::string& name) const {
    return Folder() + "/" + name;
  }

  SetClock clock_;
  FolderArchive archive_{Folder(), clock_};
};

TEST_F(Backups, ACopyHasTheTimeAndTheOriginalsName) {
  const std::string content = "old\r\n" + std::string(2, '\0') + "content";
  EXPECT_EQ(Keep("prog.hex", content), "2005-03-14_12-34-56 prog.hex");
  EXPECT_EQ(ContentOf(InFolder("2005-03-14_12-34-56 prog.hex")), content);
  EXPECT_EQ(ContentOf(Path("prog.hex")), content) << "the original stays";
}

TEST_F(Backups, ALargeFileIsKeptWhole) {
  std::string large;
  for (int i = 0; i < 300'000; ++i) large += static_cast<char>(i * 7 % 251);
  EXPECT_EQ(ContentOf(InFolder(Keep("prog.hex", large))), large);
}

TEST_F(Backups, CopiesOfOneSecondDoNotOverwriteOneAnother) {
  EXPECT_EQ(Keep("prog.hex", "one"), "2005-03-14_12-34-56 prog.hex");
  EXPECT_EQ(Keep("prog.hex", "two"), "2005-03-14_12-34-56_2 prog.hex");
  EXPECT_EQ(Keep("prog.eep", "three"), "2005-03-14_12-34-56 prog.eep");
  EXPECT_EQ(Keep("prog.hex", "four"), "2005-03-14_12-34-56_3 prog.hex");
  EXPECT_EQ(ContentOf(InFolder("2005-03-14_12-34-56 prog.hex")), "one");
  EXPECT_EQ(ContentOf(InFolder("2005-03-14_12-34-56_2 prog.hex")), "two");
  EXPECT_EQ(ContentOf(InFolder("2005-03-14_12-34-56 prog.eep")), "three");
}

TEST_F(Backups, OfNoFileOrAnEmptyOneThereIsNothingToKeep) {
  Make(Path("empty.hex"), "");
  fs::create_directory(Path("folder.hex"));
  for (const std::string& path : {Path("empty.hex"), Path("none.hex"), Path("folder.hex"),
                                  Path("empty.hex/x"), std::string()}) {
    std::string copy = "before";
    const FileResult result = archive_.Keep(path, copy);
    EXPECT_TRUE(result) << path << ": " << result.Reason;
    EXPECT_EQ(copy, "");
  }
  EXPECT_FALSE(fs::exists(Path("data"))) << "not even a folder";
}

TEST_F(Backups, TheNewestFiftyStay) {
  static_assert(FolderArchive::kMostCopies == 50);
  for (int second = 0; second < 55; ++second) {
    clock_.Time.Second = second;
    Keep(second % 2 == 0 ? "a.hex" : "z.hex", std::to_string(second));
  }
  const std::set<std::string> copies = Copies();
  EXPECT_EQ(copies.size(), 50U);
  EXPECT_EQ(*copies.begin(), "2005-03-14_12-34-05 z.hex");
  EXPECT_EQ(*copies.rbegin(), "2005-03-14_12-34-54 a.hex");
}

TEST_F(Backups, WithinASecondTheHigherNumberIsTheNewer) {
  for (int i = 1; i <= 60; ++i) Keep("a.hex", std::to_string(i));
  const std::set<std::string> copies = Copies();
  EXPECT_EQ(copies.size(), 50U);
  EXPECT_FALSE(copies.contains("2005-03-14_12-34-56_10 a.hex"));
  EXPECT_TRUE(copies.contains("2005-03-14_12-34-56_11 a.hex"));
  EXPECT_TRUE(copies.contains("2005-03-14_12-34-56_60 a.hex"));
}

TEST_F(Backups, TheNewOneStaysThoughTheClockWasPutBack) {
  for (int second = 0; second < 50; ++second) {
    clock_.Time.Second = second;
    Keep("a.hex", "x");
  }
  clock_.Time.Year = 1999;
  const std::string copy = Keep("a.hex", "new");
  EXPECT_TRUE(Copies().contains(copy));
  EXPECT_EQ(Copies().size(), 50U);
}

TEST_F(Backups, WhatIsNoCopyStays) {
  fs::create_directories(InFolder("1990-01-01_00-00-00 folder.hex"));
  const std::vector<std::string> others{"notes.txt",
                                        "1990-01-01_00-00-00.hex",
                                        "1990-01-01_00-00-00",
                                        "1990-01-01_00-00-00_ a.hex",
                                        "1990-01-01_00-00-00_x a.hex",
                                        "1990-01-01 00-00-00 a.hex"};
  for (const std::string& name : others) Make(InFolder(name), "of the user");
  Make(InFolder("1990-01-01_00-00-00_7 old.hex"), "a copy");
  for (int second = 0; second < 51; ++second) {
    clock_.Time.Second = second;
    Keep("a.hex", "x");
  }
  const std::set<std::string> copies = Copies();
  for (const std::string& name : others) EXPECT_TRUE(copies.contains(name)) << name;
  EXPECT_TRUE(copies.contains("1990-01-01_00-00-00 folder.hex"));
  EXPECT_FALSE(copies.contains("1990-01-01_00-00-00_7 old.hex"));
}

TEST_F(Backups, NamesMayBeLongOrJapanese) {
  std::string longest;
  for (int i = 0; i < 80; ++i) longest += "点";
  for (const std::string& name : {longest + ".hex", std::string("資料 'x'.hex")}) {
    files_.Write(Path(name), "content");
    std::string copy;
    ASSERT_TRUE(archive_.Keep(Path(name), copy)) << name;
    std::string content;
    EXPECT_TRUE(files_.Read(copy, content));
    EXPECT_EQ(content, "content");
  }
}

TEST_F(Backups, AFileInPlaceOfTheFolderIsTheReasonAndNothingIsKept) {
  Make(Path("data"), "a file");
  Make(Path("prog.hex"), "content");
  std::string copy = "before";
  const FileResult result = archive_.Keep(Path("prog.hex"), copy);
  EXPECT_FALSE(result);
  EXPECT_NE(result.Reason, "");
  EXPECT_EQ(copy, "");
}

TEST_F(Backups, ACopyThatNobodyNeedsIsDropped) {
  Keep("prog.hex", "one");
  archive_.Drop(InFolder("2005-03-14_12-34-56 prog.hex"));
  archive_.Drop("");
  EXPECT_EQ(Copies(), std::set<std::string>{});
}

}  // namespace
}  // namespace fenwright::platform
