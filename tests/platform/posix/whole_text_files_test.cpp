// What holds on POSIX systems for files that take their name when they are whole.

#include "platform/system/whole_text_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/child_process.h"
#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

namespace fs = std::filesystem;

class WholeFilesHere : public TheSystemsFiles {
 protected:
  static mode_t ModeOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0);
    return info.st_mode & 07777;
  }
  /// What a user's write came to, and what the file and its folder look like after it.
  static std::string Save(WholeTextFiles& files, const std::string& path,
                          const std::string& content) {
    FileResult result;
    const auto writer = files.OpenForWriting(path, result);
    if (!writer) return "not opened: " + result.Reason;
    writer->Write(content);
    writer->Close();
    return writer->Result() ? "ok" : "lost: " + writer->Result().Reason;
  }

  WholeTextFiles whole_{files_};
};

TEST_F(WholeFilesHere, AFullDiscLeavesTheOldFileWholeAndNoneBesideIt) {
  Make(Path(), "precious");
  EXPECT_EQ(RunInChild([&] {
              LimitFileSize(4096);
              SystemTextFiles system;
              WholeTextFiles files(system);
              const std::string large(6000, 'x');
              return Save(files, Path(), large) + ", " + Save(files, Path("new"), large) + ", " +
                     files.Write(Path(), large).Reason;
            }),
            "lost: File too large, lost: File too large, File too large");
  EXPECT_EQ(ContentOf(Path()), "precious");
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(WholeFilesHere, AKilledProgramLeavesTheOldFileWhole) {
  Make(Path(), "precious");
  EXPECT_EQ(RunInChild([&] {
              FileResult result;
              const auto writer = whole_.OpenForWriting(Path(), result);
              writer->Write("half of ");
              kill(getpid(), SIGKILL);
              return std::string("alive");
            }),
            "child died");
  EXPECT_EQ(ContentOf(Path()), "precious");
}

TEST_F(WholeFilesHere, ALinkStaysALinkAndItsFileIsExchanged) {
  fs::create_directory(Path("folder"));
  Make(Path("folder/file"), "before");
  fs::create_symlink("folder/second", Path("first"));
  fs::create_symlink("file", Path("folder/second"));
  EXPECT_EQ(Save(whole_, Path("first"), "after"), "ok");
  EXPECT_TRUE(fs::is_symlink(Path("first")));
  EXPECT_TRUE(fs::is_symlink(Path("folder/second")));
  EXPECT_FALSE(fs::is_symlink(Path("folder/file")));
  EXPECT_EQ(ContentOf(Path("folder/file")), "after");
  EXPECT_EQ(Names(), (std::set<std::string>{"first", "folder"}));
  EXPECT_EQ(std::distance(fs::directory_iterator(Path("folder")), {}), 2);
}

TEST_F(WholeFilesHere, ALinkToNothingStaysALinkAndGetsItsFile) {
  fs::create_symlink("file", Path("link"));
  EXPECT_EQ(Save(whole_, Path("link"), "new"), "ok");
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_EQ(ContentOf(Path("file")), "new");
}

TEST_F(WholeFilesHere, ALinkToItselfFailsAndStays) {
  fs::create_symlink("link", Path("link"));
  EXPECT_EQ(Save(whole_, Path("link"), "x"), "not opened: Too many levels of symbolic links");
  EXPECT_EQ(Names(), std::set<std::string>{"link"});
}

TEST_F(WholeFilesHere, AFileOfTheProgramsOwnReplacesNoLinkAndFollowsNone) {
  Make(Path("victim"), "kept");
  fs::create_symlink("victim", Path("link"));
  FileResult result;
  EXPECT_EQ(whole_.OpenOwnForWriting(Path("link"), result), nullptr);
  EXPECT_EQ(result.Cause, FailureCause::IsLink);
  EXPECT_EQ(whole_.Write(Path("link"), "x").Cause, FailureCause::IsLink);
  EXPECT_EQ(ContentOf(Path("victim")), "kept");
  EXPECT_TRUE(fs::is_symlink(Path("link")));
}

TEST_F(WholeFilesHere, TheRightsOfTheOldFileStay) {
  for (const mode_t mode : {0600U, 0640U, 0664U, 0755U}) {
    Make(Path(), "before");
    ASSERT_EQ(chmod(Path().c_str(), mode), 0);
    EXPECT_EQ(Save(whole_, Path(), "after"), "ok");
    EXPECT_EQ(ModeOf(Path()), mode);
  }
}

TEST_F(WholeFilesHere, ANewFileGetsTheModeThatTheUserAskedFor) {
  EXPECT_EQ(RunInChild([&] {
              umask(0027);
              return Save(whole_, Path(), "new");
            }),
            "ok");
  EXPECT_EQ(ModeOf(Path()), mode_t{0640});
}

TEST_F(WholeFilesHere, WhatIsWrittenIsForNobodyWhomTheOldFileIsNotFor) {
  Make(Path(), "secret");
  ASSERT_EQ(chmod(Path().c_str(), 0600), 0);
  FileResult result;
  const auto writer = whole_.OpenForWriting(Path(), result);
  for (const std::string& name : Names()) EXPECT_EQ(ModeOf(Path(name)), mode_t{0600});
  EXPECT_EQ(Names().size(), 2U);
}

TEST_F(WholeFilesHere, OwnerAndGroupStay) {
  constexpr uid_t kOwner = 65534;
  constexpr gid_t kGroup = 65533;
  if (geteuid() != 0) GTEST_SKIP() << "Only the superuser can give files away";
  Make(Path(), "before");
  ASSERT_EQ(chmod(Path().c_str(), 0660), 0);
  ASSERT_EQ(chown(Path().c_str(), kOwner, kGroup), 0);
  EXPECT_EQ(Save(whole_, Path(), "after"), "ok");
  struct stat info {};
  ASSERT_EQ(stat(Path().c_str(), &info), 0);
  EXPECT_EQ(info.st_uid, kOwner);
  EXPECT_EQ(info.st_gid, kGroup);
  EXPECT_EQ(ModeOf(Path()), mode_t{0660});
}

TEST_F(WholeFilesHere, AGroupThatTheUserIsNotInGetsNoRightsByAnother) {
  if (geteuid() != 0) GTEST_SKIP() << "This takes a file of somebody else";
  Make(Path(), "before");
  ASSERT_EQ(chmod(Path().c_str(), 0666), 0);
  ASSERT_EQ(chmod(folder_.Path().c_str(), 0777), 0);
  EXPECT_EQ(RunInChild([&] {
              DropPrivileges();
              return Save(whole_, Path(), "after");
            }),
            "ok");
  EXPECT_EQ(ModeOf(Path()), mode_t{0606});
}

TEST_F(WholeFilesHere, AReadOnlyFileIsRefusedThoughItsFolderTakesFiles) {
  Make(Path(), "kept");
  ASSERT_EQ(chmod(Path().c_str(), 0444), 0);
  ASSERT_EQ(chmod(folder_.Path().c_str(), 0777), 0);
  EXPECT_EQ(RunInChild([&] {
              DropPrivileges();
              return Save(whole_, Path(), "x");
            }),
            "not opened: Permission denied");
  EXPECT_EQ(ContentOf(Path()), "kept");
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(WholeFilesHere, AFolderThatTakesNoFilesKeepsTheOldOne) {
  Make(Path(), "kept");
  ASSERT_EQ(chmod(Path().c_str(), 0666), 0);
  ASSERT_EQ(chmod(folder_.Path().c_str(), 0555), 0);
  EXPECT_EQ(RunInChild([&] {
              DropPrivileges();
              return Save(whole_, Path(), "x");
            }),
            "not opened: Permission denied");
  EXPECT_EQ(ContentOf(Path()), "kept");
}

TEST_F(WholeFilesHere, WhatIsNoRegularFileIsLeftToTheFilesBelow) {
  ASSERT_EQ(mkfifo(Path().c_str(), 0666), 0);
  EXPECT_EQ(Save(whole_, Path(), "x"), "not opened: Not a regular file");
  EXPECT_EQ(Save(whole_, "/dev/null", "x"), "not opened: Not a regular file");
  fs::create_symlink("/dev/null", Path("link"));
  EXPECT_EQ(Save(whole_, Path("link"), "x"), "not opened: Not a regular file");
  EXPECT_EQ(Names(), (std::set<std::string>{"file", "link"}));
}

TEST_F(WholeFilesHere, AFileThatIsOpenAlreadyIsWrittenInPlace) {
  Make(Path(), "before, and longer");
  const int open_file = open(Path().c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(open_file, 0);
  fs::create_symlink("/dev/fd/" + std::to_string(open_file), Path("link"));
  struct stat before {};
  ASSERT_EQ(fstat(open_file, &before), 0);
  for (const std::string& path : {"/proc/self/fd/" + std::to_string(open_file), Path("link")}) {
    EXPECT_EQ(Save(whole_, path, "after"), "ok");
    struct stat after {};
    ASSERT_EQ(stat(Path().c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(ContentOf(Path()), "after");
  }
  close(open_file);
}

}  // namespace
}  // namespace fenwright::platform
