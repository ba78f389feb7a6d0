// What holds for the files of Windows.

#include <chrono>
#include <thread>
#include <windows.h>

#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

using namespace std::chrono_literals;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Holds a file as a virus scanner does; nobody else may have it but as `sharing` says.
HANDLE Hold(const std::string& path, DWORD sharing = 0) {
  return CreateFileW(std::filesystem::path(path).c_str(), GENERIC_READ, sharing, nullptr,
                     OPEN_EXISTING, 0, nullptr);
}

/// What tells a file from all others on its disc, whatever its name.
ULONGLONG IdentityOf(const std::string& path) {
  HANDLE const file = Hold(path, kShareAll);
  BY_HANDLE_FILE_INFORMATION info{};
  EXPECT_NE(GetFileInformationByHandle(file, &info), 0);
  CloseHandle(file);
  return (ULONGLONG{info.nFileIndexHigh} << 32) | info.nFileIndexLow;
}

TEST_F(TheSystemsFiles, AMissingFileIsNotFoundAndTheReasonIsTheSystems) {
  std::string content = "before";
  const FileResult result = files_.Read(Path(), content);
  EXPECT_EQ(result.Code, Status::NotFound);
  EXPECT_NE(result.Reason, "");
  EXPECT_EQ(content, "");
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
  FileResult opened;
  EXPECT_EQ(files_.Write(Path("link"), "after").Reason, "Is a symbolic link");
  EXPECT_EQ(files_.OpenOwnForWriting(Path("link"), opened), nullptr);
  EXPECT_TRUE(files_.OpenForWriting(Path("link"), opened)->Write("after"));
  EXPECT_NE(GetFileAttributesW(link.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0U);
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(IdentityOf(Path()), before);
}

TEST_F(TheSystemsFiles, AHiddenFileIsReplacedAndStaysHidden) {
  Make(Path(), "before");
  const std::filesystem::path path(Path());
  ASSERT_NE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN), 0);
  const ULONGLONG before = IdentityOf(Path());
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0U);
  EXPECT_EQ(IdentityOf(Path()), before);
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
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(TheSystemsFiles, AFileThatSomebodySharesForEverythingIsWritten) {
  Make(Path(), "something longer that stood there before");
  HANDLE const held = Hold(Path(), kShareAll);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(files_.Write(Path(), "after"));
  CloseHandle(held);
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

}  // namespace
}  // namespace fenwright::platform
