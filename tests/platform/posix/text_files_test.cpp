// What holds for the files of POSIX systems.

#include <array>
#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/child_process.h"
#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

std::string Named(const FileResult& result) {
  constexpr std::array kNames{"ok", "not found", "refused", "failed"};
  return kNames.at(static_cast<std::size_t>(result.Code));
}

struct stat InfoOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(stat(path.c_str(), &info), 0);
  return info;
}

void SetMode(const std::string& path, mode_t mode) { EXPECT_EQ(chmod(path.c_str(), mode), 0); }

/// What Write() tells a user who has no rights but those that everybody has.
std::string WriteWithoutPrivileges(SystemTextFiles& files, const std::string& path) {
  return RunInChild([&] {
    DropPrivileges();
    return Named(files.Write(path, "after"));
  });
}

TEST_F(TheSystemsFiles, AMissingFileIsNotFoundAndNamedSo) {
  std::string content = "before";
  const FileResult result = files_.Read(Path(), content);
  EXPECT_EQ(result.Code, Status::NotFound);
  EXPECT_EQ(result.Reason, "No such file or directory");
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, ANewFileGetsTheModeThatTheUserAskedFor) {
  const std::string outcome = RunInChild([&] {
    umask(0027);
    return Named(files_.Write(Path(), "new"));
  });
  EXPECT_EQ(outcome, "ok");
  EXPECT_EQ(InfoOf(Path()).st_mode & 07777, mode_t{0640});
}

TEST_F(TheSystemsFiles, WritingKeepsOwnerAndGroup) {
  constexpr uid_t kOwner = 65534;
  constexpr gid_t kGroup = 65533;
  if (geteuid() != 0) GTEST_SKIP() << "Only the superuser can give files away";
  Make(Path(), "before");
  ASSERT_EQ(chown(Path().c_str(), kOwner, kGroup), 0);
  const struct stat before = InfoOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(InfoOf(Path()).st_ino, before.st_ino);
  EXPECT_EQ(InfoOf(Path()).st_uid, kOwner);
  EXPECT_EQ(InfoOf(Path()).st_gid, kGroup);
}

TEST_F(TheSystemsFiles, AFileInAFolderThatTakesNoOtherIsWrittenInPlace) {
  Make(Path(), "something longer that stood there before");
  SetMode(Path(), 0666);
  SetMode(folder_.Path(), 0555);
  const struct stat before = InfoOf(Path());
  const std::string outcome = WriteWithoutPrivileges(files_, Path());
  EXPECT_EQ(outcome, "ok");
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(InfoOf(Path()).st_ino, before.st_ino);
}

TEST_F(TheSystemsFiles, ALinkStaysALinkAndItsFileIsReplaced) {
  std::filesystem::create_directory(Path("folder"));
  Make(Path("folder/file"), "before");
  std::filesystem::create_symlink("folder/second", Path("first"));
  std::filesystem::create_symlink("file", Path("folder/second"));
  const struct stat before = InfoOf(Path("folder/file"));
  FileResult result;
  EXPECT_TRUE(files_.OpenForWriting(Path("first"), result)->Write("after"));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("first")));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("folder/second")));
  EXPECT_FALSE(std::filesystem::is_symlink(Path("folder/file")));
  EXPECT_EQ(ContentOf(Path("folder/file")), "after");
  EXPECT_EQ(InfoOf(Path("folder/file")).st_ino, before.st_ino);
}

TEST_F(TheSystemsFiles, ALinkToNothingStaysALinkAndGetsItsFile) {
  std::filesystem::create_symlink(Path("file"), Path("link"));
  FileResult result;
  EXPECT_TRUE(files_.OpenForWriting(Path("link"), result)->Write("new"));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
  EXPECT_FALSE(std::filesystem::is_symlink(Path("file")));
  EXPECT_EQ(ContentOf(Path("file")), "new");
  EXPECT_EQ(Names(), (std::set<std::string>{"file", "link"}));
}

TEST_F(TheSystemsFiles, ALinkToItselfFailsAndStays) {
  std::filesystem::create_symlink("link", Path("link"));
  FileResult result;
  EXPECT_EQ(files_.OpenForWriting(Path("link"), result), nullptr);
  EXPECT_EQ(result.Code, Status::Failed);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
  EXPECT_EQ(Names(), std::set<std::string>{"link"});
}

TEST_F(TheSystemsFiles, AFileOfTheProgramsOwnIsNotWrittenThroughALink) {
  Make(Path("victim"), "kept");
  std::filesystem::create_symlink("victim", Path("link"));
  std::filesystem::create_symlink("none", Path("dangling"));
  for (const std::string name : {"link", "dangling"}) {
    SCOPED_TRACE(name);
    FileResult opened;
    EXPECT_EQ(files_.OpenOwnForWriting(Path(name), opened), nullptr);
    for (const FileResult& result :
         {files_.Write(Path(name), "x"), files_.Append(Path(name), "x"), opened}) {
      EXPECT_EQ(result.Code, Status::AccessRefused);
      EXPECT_EQ(result.Reason, "Is a symbolic link");
    }
  }
  EXPECT_EQ(ContentOf(Path("victim")), "kept");
  EXPECT_EQ(Names(), (std::set<std::string>{"victim", "link", "dangling"}));
}

TEST_F(TheSystemsFiles, ALinkIsDeletedAndItsFileStays) {
  Make(Path("victim"), "kept");
  std::filesystem::create_symlink("victim", Path("link"));
  files_.Delete(Path("link"));
  EXPECT_EQ(Names(), std::set<std::string>{"victim"});
}

TEST_F(TheSystemsFiles, AFileOfTheProgramsOwnMayLieInAFolderThatIsALink) {
  std::filesystem::create_directory(Path("folder"));
  std::filesystem::create_symlink("folder", Path("link"));
  EXPECT_TRUE(files_.Write(Path("link/file"), "new"));
  EXPECT_EQ(ContentOf(Path("folder/file")), "new");
}

TEST_F(TheSystemsFiles, AFileMayHaveTheLongestNameThereIs) {
  const std::string longest(255, 'x');
  EXPECT_TRUE(files_.Write(Path(longest), "one"));
  EXPECT_TRUE(files_.Write(Path(longest), "two"));
  EXPECT_EQ(ContentOf(Path(longest)), "two");
  EXPECT_EQ(files_.Write(Path(longest + "x"), "three").Code, Status::Failed);
  EXPECT_EQ(Names(), std::set<std::string>{longest});
}

TEST_F(TheSystemsFiles, AnEmptyPathAndAMissingFolderAreRefused) {
  EXPECT_EQ(files_.Write("", "x").Code, Status::NotFound);
  EXPECT_EQ(files_.Write(Path("none") + "/", "x").Code, Status::AccessRefused);
  EXPECT_EQ(Names(), std::set<std::string>{});
}

TEST_F(TheSystemsFiles, DestroyingAWriterClosesItsFile) {
  FileResult result;
  const int next_handle = dup(0);
  close(next_handle);
  files_.OpenForWriting(Path(), result)->Write("one");
  const int handle_after = dup(0);
  close(handle_after);
  EXPECT_EQ(handle_after, next_handle);
  EXPECT_EQ(ContentOf(Path()), "one");
}

TEST_F(TheSystemsFiles, APipeInPlaceOfAFileIsRefusedWithoutWaiting) {
  ASSERT_EQ(mkfifo(Path().c_str(), 0666), 0);
  std::string content;
  FileResult result;
  EXPECT_EQ(files_.Read(Path(), content).Code, Status::AccessRefused);
  EXPECT_EQ(files_.Write(Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.Append(Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.OpenForWriting(Path(), result), nullptr);
  EXPECT_EQ(result.Code, Status::AccessRefused);
}

TEST_F(TheSystemsFiles, ADeviceInPlaceOfAFileIsRefused) {
  std::string content;
  EXPECT_EQ(files_.Read("/dev/zero", content).Code, Status::AccessRefused);
  EXPECT_EQ(files_.Write("/dev/null", "x").Code, Status::AccessRefused);
  std::filesystem::create_symlink("/dev/null", Path());
  EXPECT_EQ(files_.Append(Path(), "x").Code, Status::AccessRefused);
}

TEST_F(TheSystemsFiles, AReadOnlyFolderAndAReadOnlyFileRefuseWriting) {
  Make(Path("kept"), "kept");
  chmod(Path("kept").c_str(), 0444);
  chmod(folder_.Path().c_str(), 0555);
  const std::string outcome = RunInChild([&] {
    DropPrivileges();
    FileResult opened;
    const bool is_open = files_.OpenForWriting(Path("new"), opened) != nullptr;
    files_.Delete(Path("kept"));
    return Named(files_.Write(Path("new"), "x")) + ", " + Named(files_.Append(Path("new"), "x")) +
           ", " + Named(files_.Write(Path("kept"), "x")) + ", " + Named(opened) +
           (is_open ? ", open" : ", null");
  });
  EXPECT_EQ(outcome, "refused, refused, refused, refused, null");
  EXPECT_EQ(ContentOf(Path("kept")), "kept");
}

TEST_F(TheSystemsFiles, AReadOnlyFileInAFolderThatTakesFilesIsRefusedAndStays) {
  Make(Path(), "kept");
  SetMode(Path(), 0444);
  SetMode(folder_.Path(), 0777);
  const struct stat before = InfoOf(Path());
  const std::string outcome = WriteWithoutPrivileges(files_, Path());
  EXPECT_EQ(outcome, "refused");
  EXPECT_EQ(ContentOf(Path()), "kept");
  EXPECT_EQ(InfoOf(Path()).st_ino, before.st_ino);
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(TheSystemsFiles, AFileThatMayNotBeReadIsRefused) {
  Make(Path(), "secret");
  chmod(Path().c_str(), 0000);
  const std::string outcome = RunInChild([&] {
    DropPrivileges();
    std::string content;
    return Named(files_.Read(Path(), content)) + ":" + content;
  });
  EXPECT_EQ(outcome, "refused:");
}

TEST_F(TheSystemsFiles, AFullDiscIsReportedByEveryWayOfWriting) {
  const std::string outcome = RunInChild([&] {
    LimitFileSize(4096);
    SystemTextFiles files;
    const std::string most(3000, 'x');
    std::string report = Named(files.Write(Path("a"), most)) + ", ";
    report += Named(files.Write(Path("a"), most + most)) + ", ";
    report += Named(files.Append(Path("b"), most)) + ", ";
    report += Named(files.Append(Path("b"), most)) + ", ";
    FileResult result;
    const auto writer = files.OpenForWriting(Path("c"), result);
    report += Named(result) + ", ";
    for (int i = 0; i < 3; ++i) report += writer->Write(most) ? "taken, " : "lost, ";
    report += writer->Write("") ? "taken, " : "lost, ";
    report += writer->Close() ? "good" : "bad";
    return report;
  });
  EXPECT_EQ(outcome, "ok, failed, ok, failed, ok, taken, lost, lost, lost, bad");
}

TEST_F(TheSystemsFiles, AWriterThatTheDiscRefusesLeavesWhatItCouldWrite) {
  Make(Path(), "before");
  const std::string outcome = RunInChild([&] {
    LimitFileSize(4096);
    SystemTextFiles files;
    FileResult result;
    const auto writer = files.OpenForWriting(Path(), result);
    writer->Write("after");
    writer->Write(std::string(6000, 'x'));
    return std::string(writer->Close() ? "good" : "bad");
  });
  EXPECT_EQ(outcome, "bad");
  EXPECT_EQ(ContentOf(Path()), "after" + std::string(4096 - 5, 'x'));
}

TEST_F(TheSystemsFiles, AHandlerThatSomebodySetForTheSizeLimitStays) {
  const std::string outcome = RunInChild([] {
    const auto handler = [](int) {};
    static_cast<void>(std::signal(SIGXFSZ, handler));
    const SystemTextFiles files;
    return std::string(std::signal(SIGXFSZ, handler) == +handler ? "kept" : "replaced");
  });
  EXPECT_EQ(outcome, "kept");
}

TEST_F(TheSystemsFiles, DeletingLeavesSpecialFilesAlone) {
  ASSERT_EQ(mkfifo(Path().c_str(), 0666), 0);
  files_.Delete(Path());
  EXPECT_TRUE(std::filesystem::exists(Path()));
}

}  // namespace
}  // namespace fenwright::platform
