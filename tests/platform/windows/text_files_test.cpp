#include "platform/system/text_files.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <windows.h>
// After what it needs.
#include <sddl.h>

#include <gtest/gtest.h>

#include "platform/temporary_folder.h"

namespace fenwright::platform {
namespace {

using Status = FileResult::Status;
using namespace std::chrono_literals;

class TheSystemsFiles : public testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name = "file") const {
    return folder_.File(name);
  }

  /// The content by other means than the code under test.
  static std::string ContentOf(const std::string& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static void Make(const std::string& path, std::string_view content) {
    std::ofstream(std::filesystem::path(path), std::ios::binary) << content;
  }

  /// Holds a file as a virus scanner does; nobody else may have it but as `sharing` says.
  static HANDLE Hold(const std::string& path, DWORD sharing = 0) {
    return CreateFileW(std::filesystem::path(path).c_str(), GENERIC_READ, sharing, nullptr,
                       OPEN_EXISTING, 0, nullptr);
  }

  /// What tells a file from all others on its disc, whatever its name.
  static ULONGLONG IdentityOf(const std::string& path) {
    HANDLE const file = Hold(path, kShareAll);
    BY_HANDLE_FILE_INFORMATION info{};
    EXPECT_NE(GetFileInformationByHandle(file, &info), 0);
    CloseHandle(file);
    return (ULONGLONG{info.nFileIndexHigh} << 32) | info.nFileIndexLow;
  }

  /// Whom the system lets do what with a file, in no form in particular.
  static std::string RightsOf(const std::filesystem::path& path) {
    std::string rights(4096, '\0');
    DWORD size = 0;
    EXPECT_NE(GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, rights.data(),
                               static_cast<DWORD>(rights.size()), &size),
              0);
    rights.resize(size);
    return rights;
  }

  /// What is in the folder.
  [[nodiscard]] std::set<std::wstring> Names() const {
    std::set<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
      names.insert(entry.path().filename().wstring());
    }
    return names;
  }

  static constexpr DWORD kShareWriting = FILE_SHARE_READ | FILE_SHARE_WRITE;
  static constexpr DWORD kShareAll = kShareWriting | FILE_SHARE_DELETE;

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
  std::filesystem::resize_file(Path(), std::uintmax_t{17} << 20);
  std::string content;
  EXPECT_EQ(files_.Read(Path(), content).Code, Status::Failed);
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, AMissingFileIsNotFoundAndTheReasonIsTheSystems) {
  std::string content = "before";
  const FileResult result = files_.Read(Path(), content);
  EXPECT_EQ(result.Code, Status::NotFound);
  EXPECT_NE(result.Reason, "");
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, WritingReplacesTheContentUnchanged) {
  const std::string bytes("a\r\nb\n\0\x93", 7);
  Make(Path(), "something longer that stood there before");
  EXPECT_TRUE(files_.Write(Path(), bytes));
  EXPECT_EQ(ContentOf(Path()), bytes);
}

TEST_F(TheSystemsFiles, WritingPutsAnotherFileInTheFilesPlaceAndLeavesNoOtherBehind) {
  Make(Path(), "before");
  const ULONGLONG before = IdentityOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(IdentityOf(Path()), before);
  EXPECT_EQ(Names(), std::set<std::wstring>{L"file"});
}

TEST_F(TheSystemsFiles, AFileOfSeveralNamesIsWrittenInPlaceForAllOfThem) {
  Make(Path(), "something longer that stood there before");
  ASSERT_NE(CreateHardLinkW(std::filesystem::path(Path("other")).c_str(),
                            std::filesystem::path(Path()).c_str(), nullptr),
            0);
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path("other")), "after");
  EXPECT_EQ(IdentityOf(Path()), IdentityOf(Path("other")));
  EXPECT_EQ(Names(), (std::set<std::wstring>{L"file", L"other"}));
}

TEST_F(TheSystemsFiles, AFileWithRightsOfItsOwnIsWrittenInPlaceAndKeepsThem) {
  Make(Path(), "something longer that stood there before");
  const std::filesystem::path path(Path());
  PSECURITY_DESCRIPTOR everybody = nullptr;
  ASSERT_NE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
                L"D:P(A;;FA;;;WD)", SDDL_REVISION_1, &everybody, nullptr),
            0);
  const std::string rights_at_first = RightsOf(path);
  ASSERT_NE(SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, everybody), 0);
  LocalFree(everybody);
  const std::string rights = RightsOf(path);
  ASSERT_NE(rights, rights_at_first);
  const ULONGLONG before = IdentityOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(IdentityOf(Path()), before);
  EXPECT_EQ(RightsOf(path), rights);
  EXPECT_EQ(Names(), std::set<std::wstring>{L"file"});
}

TEST_F(TheSystemsFiles, ALinkStaysALinkAndItsFileIsReplaced) {
  Make(Path(), "before");
  const std::filesystem::path link(Path("link"));
  CreateSymbolicLinkW(link.c_str(), L"file", SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE);
  // Wine makes none and says that it did.
  if (GetFileAttributesW(link.c_str()) == INVALID_FILE_ATTRIBUTES) {
    GTEST_SKIP() << "The system makes no links for this user";
  }
  const ULONGLONG before = IdentityOf(Path());
  EXPECT_TRUE(files_.Write(Path("link"), "after"));
  EXPECT_NE(GetFileAttributesW(link.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0U);
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(IdentityOf(Path()), before);
}

TEST_F(TheSystemsFiles, AFileWithTheNameOfATemporaryOneIsLeftAlone) {
  const std::string temporary = Path(".fenwright-" + std::to_string(GetCurrentProcessId()) + "-0");
  Make(Path(), "before");
  Make(temporary, "somebody's");
  const ULONGLONG before = IdentityOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(IdentityOf(Path()), before);
  EXPECT_EQ(ContentOf(temporary), "somebody's");
  EXPECT_EQ(Names().size(), 2U);
}

TEST_F(TheSystemsFiles, ThePathOfTheTemporaryFileAloneMayBeLongerThanTheOldLimit) {
  constexpr std::size_t kFolderLength = 237;
  std::wstring folder = std::filesystem::path(folder_.Path()).make_preferred().wstring();
  ASSERT_LT(folder.size() + 2, kFolderLength);
  const std::size_t own_length = folder.size();
  folder += L"\\" + std::wstring(kFolderLength - own_length - 1, L'x');
  ASSERT_NE(CreateDirectoryW((LR"(\\?\)" + folder).c_str(), nullptr), 0);
  const std::string path = std::filesystem::path(folder).string() + "\\f";
  ASSERT_EQ(path.size(), 239U);
  Make(path, "before");
  const ULONGLONG before = IdentityOf(path);
  EXPECT_TRUE(files_.Write(path, "after"));
  EXPECT_EQ(ContentOf(path), "after");
  EXPECT_NE(IdentityOf(path), before);
}

TEST_F(TheSystemsFiles, AStreamInAFileIsNoTargetForAReplacement) {
  Make(Path(), "before");
  const ULONGLONG before = IdentityOf(Path());
  files_.Write(Path("file:stream"), "in it");
  EXPECT_EQ(ContentOf(Path()), "before");
  EXPECT_EQ(IdentityOf(Path()), before);
}

TEST_F(TheSystemsFiles, WritingCreatesAMissingFileButNoFolder) {
  EXPECT_TRUE(files_.Write(Path(), "new"));
  EXPECT_EQ(ContentOf(Path()), "new");
  EXPECT_EQ(files_.Write(Path("none") + "/file", "new").Code, Status::NotFound);
}

TEST_F(TheSystemsFiles, AHiddenFileIsReplacedAndStaysHidden) {
  Make(Path(), "before");
  const std::filesystem::path path(Path());
  ASSERT_NE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN), 0);
  const ULONGLONG before = IdentityOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0U);
  EXPECT_NE(IdentityOf(Path()), before);
}

TEST_F(TheSystemsFiles, APathMayBeJapanese) {
  EXPECT_TRUE(files_.Write(Path("新しいファイル.hex"), "x"));
  EXPECT_TRUE(files_.Exists(Path("新しいファイル.hex")));
  EXPECT_NE(
      GetFileAttributesW((std::filesystem::path(folder_.Path()) / L"新しいファイル.hex").c_str()),
      INVALID_FILE_ATTRIBUTES);
}

TEST_F(TheSystemsFiles, APathMayBeLongerThanTheOldLimit) {
  std::wstring folder = std::filesystem::path(folder_.Path()).make_preferred().wstring();
  for (int i = 0; i < 10; ++i) {
    folder += L"\\長いフォルダー名" + std::wstring(40, L'x');
    ASSERT_NE(CreateDirectoryW((LR"(\\?\)" + folder).c_str(), nullptr), 0);
  }
  const std::string path = std::filesystem::path(folder).string() + "\\file.hex";
  ASSERT_GT(path.size(), 500U);
  EXPECT_TRUE(files_.Write(path, "one"));
  EXPECT_TRUE(files_.Append(path, "two"));
  std::string content;
  EXPECT_TRUE(files_.Read(path, content));
  EXPECT_EQ(content, "onetwo");
  EXPECT_TRUE(files_.Exists(path));
  files_.Delete(path);
  EXPECT_FALSE(files_.Exists(path));
  // What follows cannot remove so long a path on every system.
  while (folder.size() > folder_.Path().size()) {
    RemoveDirectoryW((LR"(\\?\)" + folder).c_str());
    folder.resize(folder.rfind(L'\\'));
  }
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
  EXPECT_TRUE(writer->Close());
  EXPECT_FALSE(writer->Write("three"));
  EXPECT_EQ(ContentOf(Path()), "onetwo");
}

TEST_F(TheSystemsFiles, AFolderInPlaceOfAFileIsRefused) {
  std::string content;
  FileResult result;
  EXPECT_EQ(files_.Read(folder_.Path(), content).Code, Status::AccessRefused);
  EXPECT_EQ(files_.Write(folder_.Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.Append(folder_.Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.OpenForWriting(folder_.Path(), result), nullptr);
  EXPECT_EQ(result.Code, Status::AccessRefused);
}

TEST_F(TheSystemsFiles, ADeviceInPlaceOfAFileIsRefused) {
  std::string content;
  EXPECT_EQ(files_.Read("NUL", content).Code, Status::AccessRefused);
  EXPECT_EQ(files_.Write("NUL", "x").Code, Status::AccessRefused);
}

TEST_F(TheSystemsFiles, AReadOnlyFileRefusesWritingAtOnceAndStays) {
  Make(Path(), "kept");
  const std::filesystem::path path(Path());
  ASSERT_NE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY), 0);
  std::ofstream plain(path, std::ios::app);
  if (plain.is_open()) GTEST_SKIP() << "Wine lets the superuser write into read-only files";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(files_.Write(Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.Append(Path(), "x").Code, Status::AccessRefused);
  files_.Delete(Path());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 300ms);
  EXPECT_EQ(ContentOf(Path()), "kept");
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(TheSystemsFiles, AFileThatIsHeldForAMomentIsWaitedFor) {
  Make(Path(), "before");
  HANDLE const held = Hold(Path());
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  std::thread scanner([held] {
    std::this_thread::sleep_for(200ms);
    CloseHandle(held);
  });
  EXPECT_TRUE(files_.Write(Path(), "after"));
  scanner.join();
  EXPECT_EQ(ContentOf(Path()), "after");
}

TEST_F(TheSystemsFiles, AFileThatIsHeldForGoodIsRefusedAndKeepsItsContent) {
  Make(Path(), "before");
  HANDLE const held = Hold(Path());
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(files_.Write(Path(), "after").Code, Status::AccessRefused);
  const auto time = std::chrono::steady_clock::now() - start;
  EXPECT_GE(time, 400ms);
  EXPECT_LT(time, 2s);
  CloseHandle(held);
  EXPECT_EQ(ContentOf(Path()), "before");
  EXPECT_EQ(Names(), std::set<std::wstring>{L"file"});
}

TEST_F(TheSystemsFiles, AFileThatMayNotBeReplacedForAMomentIsWaitedFor) {
  Make(Path(), "before");
  const ULONGLONG before = IdentityOf(Path());
  HANDLE const held = Hold(Path(), kShareWriting);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  std::thread scanner([held] {
    std::this_thread::sleep_for(200ms);
    CloseHandle(held);
  });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 150ms);
  scanner.join();
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(IdentityOf(Path()), before);
  EXPECT_EQ(Names(), std::set<std::wstring>{L"file"});
}

TEST_F(TheSystemsFiles, AFileThatMayNotBeReplacedForGoodIsWrittenInPlace) {
  Make(Path(), "something longer that stood there before");
  const ULONGLONG before = IdentityOf(Path());
  HANDLE const held = Hold(Path(), kShareWriting);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(files_.Write(Path(), "after"));
  const auto time = std::chrono::steady_clock::now() - start;
  EXPECT_GE(time, 400ms);
  EXPECT_LT(time, 2s);
  CloseHandle(held);
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(IdentityOf(Path()), before);
  EXPECT_EQ(Names(), std::set<std::wstring>{L"file"});
}

TEST_F(TheSystemsFiles, AFileThatSomebodySharesForEverythingIsWritten) {
  Make(Path(), "something longer that stood there before");
  HANDLE const held = Hold(Path(), kShareAll);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(files_.Write(Path(), "after"));
  CloseHandle(held);
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(Names(), std::set<std::wstring>{L"file"});
}

TEST_F(TheSystemsFiles, AFileMayBeReadWhileItIsBeingWritten) {
  FileResult result;
  const auto writer = files_.OpenForWriting(Path(), result);
  ASSERT_NE(writer, nullptr);
  EXPECT_TRUE(writer->Write("one"));
  std::string content;
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, "one");
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

TEST_F(TheSystemsFiles, DeletingRemovesAFileAndIgnoresWhatItCannotRemove) {
  Make(Path(), "x");
  files_.Delete(Path());
  EXPECT_FALSE(std::filesystem::exists(Path()));
  files_.Delete(Path());
  files_.Delete(folder_.Path());
  EXPECT_TRUE(std::filesystem::exists(folder_.Path()));
}

}  // namespace
}  // namespace fenwright::platform
