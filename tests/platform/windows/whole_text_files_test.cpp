// What holds on Windows for files that take their name when they are whole.

#include "platform/system/whole_text_files.h"

#include <windows.h>

#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

class WholeFilesHere : public TheSystemsFiles {
 protected:
  WholeTextFiles whole_{files_};
};

TEST_F(WholeFilesHere, AHiddenFileStaysHidden) {
  Make(Path(), "before");
  const std::filesystem::path path(Path());
  ASSERT_NE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN), 0);
  EXPECT_TRUE(whole_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path()), "after");
  EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0U);
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(WholeFilesHere, AFileThatIsHeldForGoodKeepsItsContentAndNoneIsBesideIt) {
  Make(Path(), "before");
  HANDLE const held = CreateFileW(std::filesystem::path(Path()).c_str(), GENERIC_READ, 0, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(whole_.Write(Path(), "after").Code, Status::AccessRefused);
  CloseHandle(held);
  EXPECT_EQ(ContentOf(Path()), "before");
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(WholeFilesHere, ADeviceIsLeftToTheFilesBelow) {
  FileResult result;
  EXPECT_EQ(whole_.OpenForWriting("NUL", result), nullptr);
  EXPECT_EQ(result.Cause, FailureCause::NotRegular);
}

}  // namespace
}  // namespace fenwright::platform
