#include "platform/posix/file_lock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/system/instance_lock.h"
#include "platform/system/system_file.h"
#include "platform/system/system_serial_control.h"
#include "platform/temporary_folder.h"
#include "platform/terminal_line.h"

namespace fenwright::platform {
namespace {

using namespace std::chrono_literals;

/// Somebody who has a file open and locked, and lets go of it after a while.
class PassingHolder {
 public:
  PassingHolder(const std::string& path, std::chrono::milliseconds time)
      : descriptor_(open(path.c_str(), O_RDWR | O_CREAT | O_NOCTTY | O_CLOEXEC, 0600)) {
    EXPECT_EQ(flock(descriptor_, LOCK_EX | LOCK_NB), 0);
    thread_ = std::thread([this, time] {
      std::this_thread::sleep_for(time);
      close(descriptor_);
    });
  }
  ~PassingHolder() { thread_.join(); }
  PassingHolder(const PassingHolder&) = delete;
  PassingHolder& operator=(const PassingHolder&) = delete;

 private:
  int descriptor_;
  std::thread thread_;
};

class ALock : public ::testing::Test {
 protected:
  std::string Path() const { return folder_.File("lock"); }
  int Open() const { return open(Path().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600); }

  TemporaryFolder folder_;
};

TEST_F(ALock, IsTakenAtOnceWhereNobodyHoldsIt) {
  const int file = Open();
  EXPECT_EQ(LockFile(file), 0);
  const int second = Open();
  EXPECT_NE(flock(second, LOCK_EX | LOCK_NB), 0);
  close(second);
  close(file);
}

TEST_F(ALock, ThatIsGivenBackInAMomentIsWaitedFor) {
  const PassingHolder holder(Path(), 60ms);
  const int file = Open();
  EXPECT_EQ(LockFile(file), 0);
  close(file);
}

TEST_F(ALock, ThatIsHeldOnEndsTheWait) {
  const int held = Open();
  ASSERT_EQ(LockFile(held), 0);
  const int file = Open();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(LockFile(file), EWOULDBLOCK);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
  close(file);
  close(held);
}

TEST_F(ALock, OfAFileThatIsNoneIsAnErrorAtOnce) { EXPECT_EQ(LockFile(-1), EBADF); }

// A port that was just closed, a number's counter, the window's own lock: each would be told to be
// somebody else's.
TEST_F(ALock, OfEveryKindIsWaitedFor) {
  const TerminalLine line;
  {
    const PassingHolder holder(line.Path(), 60ms);
    SystemSerialControl port([&](int) { return line.Path(); });
    EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
  }
  {
    const PassingHolder holder(Path(), 60ms);
    system_file::Handle file{};
    bool taken = false;
    EXPECT_TRUE(system_file::Lock(Path(), file, taken));
    EXPECT_TRUE(taken);
    close(file);
  }
  {
    // The instance's name and ".lock" are the file's.
    const PassingHolder holder(folder_.File("window.lock"), 60ms);
    EXPECT_TRUE(MakeInstanceLock(folder_.Path(), "window")->Claim());
  }
}

}  // namespace
}  // namespace fenwright::platform
