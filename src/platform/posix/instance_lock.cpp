#include "platform/system/instance_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "platform/posix/file_lock.h"

namespace fenwright::platform {
namespace {

/// A file that somebody else has put there, even a folder, can still carry the lock. None is made
/// through a link.
int OpenLockFile(const std::string& path) {
  constexpr mode_t kOwnerOnly = 0600;
  constexpr int kAlways = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  const int opened = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | kAlways, kOwnerOnly);
  return opened >= 0 ? opened : open(path.c_str(), O_RDONLY | kAlways);
}

/// The lock is the kernel's: it goes with the process that holds it, however that ends.
class FileLock final : public SingleInstance {
 public:
  FileLock(std::filesystem::path folder, const std::string& name)
      : folder_(std::move(folder)), path_((folder_ / (name + ".lock")).string()) {}
  ~FileLock() override {
    if (handle_ >= 0) close(handle_);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  bool Claim() override {
    if (handle_ >= 0) return true;
    std::error_code ignored;
    std::filesystem::create_directories(folder_, ignored);
    const int opened = OpenLockFile(path_);
    if (opened < 0) return true;
    const int error = LockFile(opened);
    if (error == 0) {
      handle_ = opened;
      return true;
    }
    close(opened);
    return error != EWOULDBLOCK;
  }

 private:
  std::filesystem::path folder_;
  std::string path_;
  int handle_ = -1;
};

}  // namespace

std::unique_ptr<SingleInstance> MakeInstanceLock(const std::string& folder,
                                                 const std::string& name) {
  return std::make_unique<FileLock>(folder, name);
}

}  // namespace fenwright::platform
