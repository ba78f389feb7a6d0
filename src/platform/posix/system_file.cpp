#include "platform/system/system_file.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "platform/posix/system_reason.h"

namespace fenwright::platform::system_file {
namespace {

namespace fs = std::filesystem;
using Status = FileResult::Status;

FileResult ResultOf(int error) {
  switch (error) {
    case 0:
      return {};
    case ENOENT:
      return {Status::NotFound, SystemReason(error)};
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return {Status::AccessRefused, SystemReason(error)};
    default:
      return {Status::Failed, SystemReason(error)};
  }
}

FileResult CheckRegular(const struct stat& info) {
  if (S_ISREG(info.st_mode)) return {};
  if (S_ISDIR(info.st_mode)) return ResultOf(EISDIR);
  if (S_ISLNK(info.st_mode)) return {Status::AccessRefused, kIsLinkReason};
  return {Status::AccessRefused, "Not a regular file"};
}

int FlagsOf(Way way, Links links) {
  const int follow = links == Links::Refuse ? O_NOFOLLOW : 0;
  if (way == Way::Read) return O_RDONLY | follow;
  return O_WRONLY | O_CREAT | follow | (way == Way::Append ? O_APPEND : O_TRUNC);
}

}  // namespace

void Prepare() {
  struct sigaction action {};
  if (sigaction(SIGXFSZ, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &action, nullptr);
}

FileResult Open(const std::string& path, Way way, Links links, Handle& file) {
  constexpr mode_t kNewFileMode = 0666;
  // Non-blocking, so that a pipe put in a file's place holds nobody up.
  constexpr int kCommonFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  // Looked at before, since merely opening a device can do something to it.
  struct stat info {};
  const bool follow = links == Links::Follow;
  if ((follow ? stat(path.c_str(), &info) : lstat(path.c_str(), &info)) == 0) {
    FileResult kind = CheckRegular(info);
    if (!kind) return kind;
  }
  const int opened = open(path.c_str(), FlagsOf(way, links) | kCommonFlags, kNewFileMode);
  if (opened < 0) return ResultOf(errno);
  // And again, since it may have been exchanged meanwhile.
  FileResult kind = fstat(opened, &info) == 0 ? CheckRegular(info) : ResultOf(errno);
  if (kind) {
    file = opened;
  } else {
    close(opened);
  }
  return kind;
}

FileResult Read(Handle file, std::span<char> room, std::size_t& count) {
  const ssize_t taken = TEMP_FAILURE_RETRY(read(file, room.data(), room.size()));
  if (taken < 0) return ResultOf(errno);
  count = static_cast<std::size_t>(taken);
  return {};
}

FileResult Write(Handle file, std::string_view& bytes) {
  const ssize_t written = TEMP_FAILURE_RETRY(write(file, bytes.data(), bytes.size()));
  if (written <= 0) return ResultOf(written == 0 ? ENOSPC : errno);
  bytes.remove_prefix(static_cast<std::size_t>(written));
  return {};
}

FileResult Close(Handle file) {
  // After EINTR the handle is closed all the same: trying again could close somebody else's.
  return ResultOf(close(file) == 0 || errno == EINTR ? 0 : errno);
}

bool Exists(const std::string& path) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  return fs::exists(status) && !fs::is_directory(status);
}

void Delete(const std::string& path) {
  std::error_code ignored;
  const fs::file_status status = fs::symlink_status(path, ignored);
  if (fs::is_regular_file(status) || fs::is_symlink(status)) fs::remove(path, ignored);
}

FileResult InvalidPath() { return ResultOf(EINVAL); }

FileResult TooLarge() { return ResultOf(EFBIG); }

}  // namespace fenwright::platform::system_file
