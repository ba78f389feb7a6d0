#include "platform/system/text_files.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/child_process.h"
#include "platform/temporary_folder.h"

namespace fenwright::platform {
namespace {

using Status = FileResult::Status;

std::string Named(const FileResult& result) {
  switch (result.Code) {
    case Status::Ok:
      return "ok";
    case Status::NotFound:
      return "not found";
    case Status::AccessRefused:
      return "refused";
    case Status::Failed:
      break;
  }
  return "failed";
}

class TheSystemsFiles : public testing::Test {
 protected:
  std::string Path(const std::string& name = "file") const { return folder_.File(name); }

  /// The content by other means than the code under test.
  static std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static void Make(const std::string& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
  }

  static struct stat InfoOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0);
    return info;
  }

  static void SetMode(const std::string& path, mode_t mode) {
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
  }

  /// What is in the folder.
  [[nodiscard]] std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  /// What Write() tells a user who has no rights but those that everybody has.
  std::string WriteWithoutPrivileges(std::string_view content) {
    return RunInChild([&] {
      DropPrivileges();
      return Named(files_.Write(Path(), content));
    });
  }

  TemporaryFolder folder_;
  SystemTextFiles files_;
};

TEST_F(TheSystemsFiles, AnExistingFileIsSeenAndAFolderIsNone) {
  EXPECT_FALSE(files_.Exists(Path()));
  Make(Path(), "");
  EXPECT_TRUE(files_.Exists(Path()));
  EXPECT_FALSE(files_.Exists(folder_.Path()));
  EXPECT_FALSE(files_.Exists(""));
}

TEST_F(TheSystemsFiles, BytesAreReadUnchanged) {
  const std::string bytes("a\r\nb\n\0\x1A\x93\xFA\xFF", 10);
  Make(Path(), bytes);
  std::string content = "before";
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, bytes);
}

TEST_F(TheSystemsFiles, AnEmptyFileIsReadAsNothing) {
  Make(Path(), "");
  std::string content = "before";
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, AFileOfManyBlocksIsReadWhole) {
  std::string bytes;
  for (int i = 0; i < 300'000; ++i) bytes += static_cast<char>(i % 251);
  Make(Path(), bytes);
  std::string content;
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, bytes);
}

TEST_F(TheSystemsFiles, AnEnormousFileIsRefusedInsteadOfFillingTheMemory) {
  Make(Path(), "x");
  std::filesystem::resize_file(Path(), std::uintmax_t{300} << 20);
  std::string content;
  EXPECT_EQ(files_.Read(Path(), content).Code, Status::Failed);
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, AMissingFileIsNotFoundAndNamedSo) {
  std::string content = "before";
  const FileResult result = files_.Read(Path(), content);
  EXPECT_EQ(result.Code, Status::NotFound);
  EXPECT_EQ(result.Reason, "No such file or directory");
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, WritingReplacesTheContentUnchanged) {
  const std::string bytes("a\r\nb\n\0\x93", 7);
  Make(Path(), "something longer that stood there before");
  EXPECT_TRUE(files_.Write(Path(), bytes));
  EXPECT_EQ(ContentOf(Path()), bytes);
}

TEST_F(TheSystemsFiles, WritingPutsAnotherFileOfTheSameModeInTheFilesPlace) {
  Make(Path(), "before");
  SetMode(Path(), 0640);
  const struct stat before = InfoOf(Path());
  std::ifstream reader(Path(), std::ios::binary);
  EXPECT_TRUE(files_.Write(Path(), "after"));
  const struct stat after = InfoOf(Path());
  EXPECT_NE(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(ContentOf(Path()), "after");
  const std::string content_read(std::istreambuf_iterator<char>(reader), {});
  EXPECT_EQ(content_read, "before") << "what somebody reads meanwhile stays whole";
}

TEST_F(TheSystemsFiles, WritingLeavesNoOtherFileBehind) {
  EXPECT_TRUE(files_.Write(Path(), "new"));
  EXPECT_TRUE(files_.Write(Path(), "newer"));
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
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
  EXPECT_NE(InfoOf(Path()).st_ino, before.st_ino);
  EXPECT_EQ(InfoOf(Path()).st_uid, kOwner);
  EXPECT_EQ(InfoOf(Path()).st_gid, kGroup);
}

TEST_F(TheSystemsFiles, AFileThatCannotBeGivenToItsOwnerIsWrittenInPlace) {
  if (geteuid() != 0) GTEST_SKIP() << "Only the superuser has files of two users";
  Make(Path(), "something longer that stood there before");
  SetMode(Path(), 0666);
  SetMode(folder_.Path(), 0777);
  const struct stat before = InfoOf(Path());
  const std::string outcome = WriteWithoutPrivileges("after");
  EXPECT_EQ(outcome, "ok");
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(InfoOf(Path()).st_ino, before.st_ino);
  EXPECT_EQ(InfoOf(Path()).st_uid, before.st_uid);
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(TheSystemsFiles, AFileInAFolderThatTakesNoOtherIsWrittenInPlace) {
  Make(Path(), "something longer that stood there before");
  SetMode(Path(), 0666);
  SetMode(folder_.Path(), 0555);
  const struct stat before = InfoOf(Path());
  const std::string outcome = WriteWithoutPrivileges("after");
  EXPECT_EQ(outcome, "ok");
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(InfoOf(Path()).st_ino, before.st_ino);
}

TEST_F(TheSystemsFiles, AFileWithAListOfRightsIsWrittenInPlaceAndKeepsIt) {
  constexpr char kName[] = "system.posix_acl_access";
  // The owner and one more user may read and write, their group and the others may not.
  const std::string list(
      "\x02\0\0\0"
      "\x01\0\x06\0\xFF\xFF\xFF\xFF"
      "\x02\0\x06\0\xFE\xFF\0\0"
      "\x04\0\0\0\xFF\xFF\xFF\xFF"
      "\x10\0\x06\0\xFF\xFF\xFF\xFF"
      "\x20\0\0\0\xFF\xFF\xFF\xFF",
      44);
  Make(Path(), "something longer that stood there before");
  if (setxattr(Path().c_str(), kName, list.data(), list.size(), 0) != 0) {
    ASSERT_EQ(errno, ENOTSUP);
    GTEST_SKIP() << "The file system has no lists of rights";
  }
  const struct stat before = InfoOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(InfoOf(Path()).st_ino, before.st_ino);
  EXPECT_EQ(getxattr(Path().c_str(), kName, nullptr, 0), static_cast<ssize_t>(list.size()));
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(TheSystemsFiles, AFileOfSeveralNamesIsWrittenInPlaceForAllOfThem) {
  Make(Path(), "something longer that stood there before");
  std::filesystem::create_hard_link(Path(), Path("other"));
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path("other")), "after");
  EXPECT_EQ(InfoOf(Path()).st_ino, InfoOf(Path("other")).st_ino);
  EXPECT_EQ(Names(), (std::set<std::string>{"file", "other"}));
}

TEST_F(TheSystemsFiles, ALinkStaysALinkAndItsFileIsReplaced) {
  std::filesystem::create_directory(Path("folder"));
  Make(Path("folder/file"), "before");
  std::filesystem::create_symlink("folder/second", Path("first"));
  std::filesystem::create_symlink("file", Path("folder/second"));
  const struct stat before = InfoOf(Path("folder/file"));
  EXPECT_TRUE(files_.Write(Path("first"), "after"));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("first")));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("folder/second")));
  EXPECT_FALSE(std::filesystem::is_symlink(Path("folder/file")));
  EXPECT_EQ(ContentOf(Path("folder/file")), "after");
  EXPECT_NE(InfoOf(Path("folder/file")).st_ino, before.st_ino);
}

TEST_F(TheSystemsFiles, ALinkToNothingStaysALinkAndGetsItsFile) {
  std::filesystem::create_symlink(Path("file"), Path("link"));
  EXPECT_TRUE(files_.Write(Path("link"), "new"));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
  EXPECT_FALSE(std::filesystem::is_symlink(Path("file")));
  EXPECT_EQ(ContentOf(Path("file")), "new");
  EXPECT_EQ(Names(), (std::set<std::string>{"file", "link"}));
}

TEST_F(TheSystemsFiles, ALinkToItselfFailsAndStays) {
  std::filesystem::create_symlink("link", Path("link"));
  EXPECT_EQ(files_.Write(Path("link"), "x").Code, Status::Failed);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
  EXPECT_EQ(Names(), std::set<std::string>{"link"});
}

TEST_F(TheSystemsFiles, AFileWithTheNameOfATemporaryOneIsLeftAlone) {
  const std::string temporary = Path(".fenwright-" + std::to_string(getpid()) + "-0");
  Make(Path(), "before");
  Make(temporary, "somebody's");
  const struct stat before = InfoOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(InfoOf(Path()).st_ino, before.st_ino);
  EXPECT_EQ(ContentOf(temporary), "somebody's");
  EXPECT_EQ(Names().size(), 2U);
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

TEST_F(TheSystemsFiles, WritingCreatesAMissingFileButNoFolder) {
  EXPECT_TRUE(files_.Write(Path(), "new"));
  EXPECT_EQ(ContentOf(Path()), "new");
  EXPECT_EQ(files_.Write(Path("none") + "/file", "new").Code, Status::NotFound);
}

TEST_F(TheSystemsFiles, APathMayBeJapanese) {
  EXPECT_TRUE(files_.Write(Path("新しいファイル.hex"), "x"));
  EXPECT_TRUE(std::filesystem::exists(Path("新しいファイル.hex")));
}

TEST_F(TheSystemsFiles, AppendingAddsAtTheEndAndCreatesAMissingFile) {
  EXPECT_TRUE(files_.Append(Path(), "one\r\n"));
  EXPECT_TRUE(files_.Append(Path(), "two\r\n"));
  EXPECT_EQ(ContentOf(Path()), "one\r\ntwo\r\n");
}

TEST_F(TheSystemsFiles, AWriterCutsTheFileAndWritesInOrder) {
  Make(Path(), "something longer that stood there before");
  FileResult result{Status::Failed, "before"};
  const auto writer = files_.OpenForWriting(Path(), result);
  ASSERT_NE(writer, nullptr);
  EXPECT_EQ(result.Code, Status::Ok);
  EXPECT_EQ(ContentOf(Path()), "");
  EXPECT_TRUE(writer->Write("one"));
  EXPECT_TRUE(writer->Write("two"));
  EXPECT_TRUE(writer->Close());
  EXPECT_EQ(ContentOf(Path()), "onetwo");
}

TEST_F(TheSystemsFiles, AClosedWriterTakesNothingMoreAndKeepsItsVerdict) {
  FileResult result;
  const auto writer = files_.OpenForWriting(Path(), result);
  ASSERT_NE(writer, nullptr);
  EXPECT_TRUE(writer->Write("one"));
  EXPECT_TRUE(writer->Close());
  EXPECT_TRUE(writer->Close());
  EXPECT_FALSE(writer->Write("two"));
  EXPECT_EQ(ContentOf(Path()), "one");
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

TEST_F(TheSystemsFiles, AFolderInPlaceOfAFileIsRefused) {
  std::string content;
  FileResult result;
  EXPECT_EQ(files_.Read(folder_.Path(), content).Code, Status::AccessRefused);
  EXPECT_EQ(files_.Write(folder_.Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.Append(folder_.Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.OpenForWriting(folder_.Path(), result), nullptr);
  EXPECT_EQ(result.Code, Status::AccessRefused);
  EXPECT_EQ(result.Reason, "Is a directory");
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

TEST_F(TheSystemsFiles, APathWithANulInItNamesNothing) {
  Make(Path(), "content");
  const std::string path = Path() + std::string(1, '\0') + "more";
  std::string content;
  EXPECT_FALSE(files_.Exists(path));
  EXPECT_FALSE(files_.Read(path, content));
  EXPECT_FALSE(files_.Write(path, "x"));
  files_.Delete(path);
  EXPECT_EQ(ContentOf(Path()), "content");
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
  const std::string outcome = WriteWithoutPrivileges("x");
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

TEST_F(TheSystemsFiles, AFullDiscLeavesTheOldContentAndNoOtherFile) {
  Make(Path(), "before");
  const std::string outcome = RunInChild([&] {
    LimitFileSize(4096);
    SystemTextFiles files;
    const std::string too_much(6000, 'x');
    return Named(files.Write(Path(), too_much)) + ", " + Named(files.Write(Path("new"), too_much));
  });
  EXPECT_EQ(outcome, "failed, failed");
  EXPECT_EQ(ContentOf(Path()), "before");
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
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

TEST_F(TheSystemsFiles, DeletingRemovesAFileAndIgnoresWhatItCannotRemove) {
  Make(Path(), "x");
  files_.Delete(Path());
  EXPECT_FALSE(std::filesystem::exists(Path()));
  files_.Delete(Path());
  files_.Delete(folder_.Path());
  EXPECT_TRUE(std::filesystem::exists(folder_.Path()));
}

TEST_F(TheSystemsFiles, DeletingLeavesSpecialFilesAlone) {
  ASSERT_EQ(mkfifo(Path().c_str(), 0666), 0);
  files_.Delete(Path());
  EXPECT_TRUE(std::filesystem::exists(Path()));
}

}  // namespace
}  // namespace fenwright::platform
