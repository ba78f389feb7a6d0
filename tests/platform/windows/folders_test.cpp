#include "platform/system/folders.h"

#include <algorithm>
#include <filesystem>
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/temporary_folder.h"
#include "platform/windows/system_path.h"

namespace fenwright::platform {
namespace {

std::wstring Repeated(const wchar_t* text, int count) {
  std::wstring result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

TEST(AFolder, CanBeWrittenIntoWhateverItsName) {
  const TemporaryFolder folder;
  const std::filesystem::path japanese = std::filesystem::path(folder.Path()) / L"新しいフォルダ";
  std::filesystem::create_directory(japanese);
  EXPECT_TRUE(MayWriteInto(folder.Path()));
  EXPECT_TRUE(MayWriteInto(folder.File("新しいフォルダ")));
  EXPECT_TRUE(std::filesystem::is_empty(japanese));
}

TEST(AFolder, ThatIsMissingCannotBeWrittenInto) {
  const TemporaryFolder folder;
  EXPECT_FALSE(MayWriteInto(folder.File("none")));
}

TEST(AFolder, MayBeSoLongThatAFileInItIsBeyondTheOldLimit) {
  constexpr std::size_t kLength = 245;
  const TemporaryFolder folder;
  std::wstring path = std::filesystem::path(folder.Path()).make_preferred().wstring();
  ASSERT_LT(path.size() + 2, kLength);
  path += L"\\" + std::wstring(kLength - path.size() - 1, L'x');
  ASSERT_NE(CreateDirectoryW((LR"(\\?\)" + path).c_str(), nullptr), 0);
  std::string name = std::filesystem::path(path).string();
  EXPECT_TRUE(MayWriteInto(name));
  std::replace(name.begin(), name.end(), '\\', '/');
  EXPECT_TRUE(MayWriteInto(name));
  EXPECT_NE(RemoveDirectoryW((LR"(\\?\)" + path).c_str()), 0);  // nothing was left in it
}

TEST(TheSystemsPath, OfAShortPathIsThePathItself) {
  EXPECT_EQ(SystemPath(""), L"");
  EXPECT_EQ(SystemPath("file.hex"), L"file.hex");
  EXPECT_EQ(SystemPath("C:/新しい/file.hex"), L"C:/新しい/file.hex");
}

TEST(TheSystemsPath, OfALongPathIsFullAndMarked) {
  const std::wstring longest_plain = LR"(C:\)" + std::wstring(236, L'x');
  EXPECT_EQ(SystemPath(longest_plain), longest_plain);
  EXPECT_EQ(SystemPath(longest_plain + L"x"), LR"(\\?\)" + longest_plain + L"x");
  const std::wstring more = Repeated(L"\\0123456789", 25);
  EXPECT_EQ(SystemPath(L"C:" + more), LR"(\\?\C:)" + more);
  EXPECT_EQ(SystemPath(L"C:/a/.." + more), LR"(\\?\C:)" + more);
  EXPECT_EQ(SystemPath(LR"(\\server)" + more), LR"(\\?\UNC\server)" + more);
  EXPECT_EQ(SystemPath(LR"(\\?\C:)" + more), LR"(\\?\C:)" + more);
}

TEST(TheSystemsPath, CountsWhatTheWorkingFolderAddsToThePath) {
  const std::wstring name = Repeated(L"0123456789", 23) + L"012345678";
  ASSERT_EQ(name.size(), 239U);
  EXPECT_EQ(SystemPath(name), LR"(\\?\)" + FullPath(name));
}

}  // namespace
}  // namespace fenwright::platform
