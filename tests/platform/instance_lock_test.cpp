#include "platform/system/instance_lock.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/child_process.h"
#include "platform/single_instance_contract.h"
#include "platform/temporary_folder.h"

namespace fenwright::platform {
namespace {

INSTANTIATE_TEST_SUITE_P(System, SingleInstanceContract,
                         ::testing::Values(SingleInstanceImplementation{
                             "LockFile",
                             [](const std::string& name) {
                               static const TemporaryFolder folder;
                               return MakeInstanceLock(folder.Path(), name);
                             }}),
                         [](const auto& implementation) { return implementation.param.Name; });

/// A program that holds the lock until it is killed. Null when it could not claim it.
class Holder {
 public:
  Holder(const std::string& folder, const std::string& name) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) return;
    process_ = fork();
    if (process_ == 0) {
      const auto lock = MakeInstanceLock(folder, name);
      const char answer = lock->Claim() ? 'y' : 'n';
      const bool told = write(ends[1], &answer, 1) == 1;
      while (told) pause();
      _exit(0);
    }
    char answer = '?';
    claimed_ = read(ends[0], &answer, 1) == 1 && answer == 'y';
    close(ends[0]);
    close(ends[1]);
  }
  ~Holder() { Kill(); }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

  [[nodiscard]] bool Claimed() const { return claimed_; }
  void Kill() {
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
  }

 private:
  pid_t process_ = -1;
  bool claimed_ = false;
};

TEST(InstanceLock, AnotherProcessIsKeptOutUntilTheHolderIsKilled) {
  const TemporaryFolder folder;
  Holder holder(folder.Path(), "run");
  ASSERT_TRUE(holder.Claimed());
  const auto lock = MakeInstanceLock(folder.Path(), "run");
  EXPECT_FALSE(lock->Claim());
  holder.Kill();
  EXPECT_TRUE(std::filesystem::exists(folder.File("run.lock")));
  EXPECT_TRUE(lock->Claim());
}

TEST(InstanceLock, AStaleEmptyOrForeignFileLocksNobodyOut) {
  for (const std::string content : {"", "4711\nfenwright\nhost\n", "not ours at all"}) {
    const TemporaryFolder folder;
    std::ofstream(folder.File("run.lock")) << content;
    EXPECT_TRUE(MakeInstanceLock(folder.Path(), "run")->Claim()) << content;
  }
}

TEST(InstanceLock, AFileThatMayNotBeWrittenStillCarriesTheLock) {
  const TemporaryFolder folder;
  std::ofstream(folder.File("run.lock")) << "x";
  chmod(folder.File("run.lock").c_str(), 0444);
  const std::string answers = RunInChild([&] {
    DropPrivileges();
    const auto first = MakeInstanceLock(folder.Path(), "run");
    const bool claimed = first->Claim();
    const bool second = MakeInstanceLock(folder.Path(), "run")->Claim();
    return std::string(claimed ? "first " : "none ") + (second ? "second" : "only");
  });
  EXPECT_EQ(answers, "first only");
}

TEST(InstanceLock, WhereNoFileCanBeOpenedTheUserIsNotLockedOut) {
  const TemporaryFolder folder;
  chmod(folder.Path().c_str(), 0555);
  const std::string answer = RunInChild([&] {
    DropPrivileges();
    return std::string(MakeInstanceLock(folder.Path(), "run")->Claim() ? "in" : "out");
  });
  EXPECT_EQ(answer, "in");
}

TEST(InstanceLock, AFolderOrAPipeInItsPlaceLocksNobodyOut) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.File("a.lock"));
  EXPECT_TRUE(MakeInstanceLock(folder.Path(), "a")->Claim());
  ASSERT_EQ(mkfifo(folder.File("b.lock").c_str(), 0600), 0);
  EXPECT_TRUE(MakeInstanceLock(folder.Path(), "b")->Claim());
}

TEST(InstanceLock, NoFileIsMadeThroughALinkInItsPlace) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("elsewhere", folder.File("run.lock"));
  EXPECT_TRUE(MakeInstanceLock(folder.Path(), "run")->Claim());
  EXPECT_FALSE(std::filesystem::exists(folder.File("elsewhere")));
}

TEST(InstanceLock, AMissingFolderIsCreated) {
  const TemporaryFolder folder;
  const auto lock = MakeInstanceLock(folder.File("new/deep"), "run");
  EXPECT_TRUE(lock->Claim());
  EXPECT_TRUE(std::filesystem::exists(folder.File("new/deep/run.lock")));
}

TEST(InstanceLock, AFileInPlaceOfTheFolderLocksNobodyOut) {
  const TemporaryFolder folder;
  std::ofstream(folder.File("file")) << "x";
  EXPECT_TRUE(MakeInstanceLock(folder.File("file"), "run")->Claim());
}

}  // namespace
}  // namespace fenwright::platform
