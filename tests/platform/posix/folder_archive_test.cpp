// What holds for the kept copies on POSIX systems.

#include "platform/system/folder_archive.h"

#include <sys/stat.h>
#include <unistd.h>

#include "platform/child_process.h"
#include "platform/system/system_clock.h"
#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

namespace fs = std::filesystem;

class BackupsHere : public TheSystemsFiles {
 protected:
  std::string Keep() {
    std::string copy;
    const FileResult result = archive_.Keep(Path(), copy);
    return result ? copy : "not kept: " + result.Reason;
  }
  SystemClock clock_;
  FolderArchive archive_{Path("data/Backups"), clock_};
};

TEST_F(BackupsHere, NobodyElseCanReadACopy) {
  Make(Path(), "secret");
  chmod(Path().c_str(), 0666);
  const std::string copy = Keep();
  struct stat info {};
  ASSERT_EQ(stat(copy.c_str(), &info), 0) << copy;
  EXPECT_EQ(info.st_mode & 07777, mode_t{0600});
  for (const std::string folder : {"data", "data/Backups"}) {
    ASSERT_EQ(stat(Path(folder).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, mode_t{0700});
  }
}

TEST_F(BackupsHere, AFullDiscIsTheReasonAndNoPieceIsLeft) {
  Make(Path(), std::string(6000, 'x'));
  EXPECT_EQ(RunInChild([&] {
              LimitFileSize(4096);
              const SystemTextFiles files;
              return Keep();
            }),
            "not kept: File too large");
  EXPECT_TRUE(fs::is_empty(Path("data/Backups")));
}

TEST_F(BackupsHere, AFileThatMayNotBeReadIsToldAndAPipeIsNoFile) {
  Make(Path(), "secret");
  chmod(Path().c_str(), 0);
  EXPECT_EQ(RunInChild([&] {
              DropPrivileges();
              return Keep();
            }),
            "not kept: Permission denied");
  fs::remove(Path());
  ASSERT_EQ(mkfifo(Path().c_str(), 0666), 0);
  EXPECT_EQ(Keep(), "");
}

TEST_F(BackupsHere, ALinkIsFollowedAndItsNameKept) {
  Make(Path("real"), "content");
  fs::create_symlink("real", Path());
  const std::string copy = Keep();
  EXPECT_TRUE(copy.ends_with(" file")) << copy;
  EXPECT_FALSE(fs::is_symlink(copy));
  EXPECT_EQ(ContentOf(copy), "content");
}

}  // namespace
}  // namespace fenwright::platform
