#include "platform/system/system_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "platform/posix/file_lock.h"
#include "platform/posix/system_reason.h"

namespace fenwright::platform::system_file {
namespace {

namespace fs = std::filesystem;
using Status = FileResult::Status;

Status FileStatusOf(int error) {
  switch (error) {
    case 0:
      return Status::Ok;
    case ENOENT:
      return Status::NotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return Status::AccessRefused;
    default:
      return Status::Failed;
  }
}

FileResult ResultOf(int error) {
  if (error == 0) return {};
  return {.Code = FileStatusOf(error), .Reason = SystemReason(error), .Cause = CauseOf(error)};
}

constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

/// Names that stand for devices and for files that are open already.
bool IsMadeUpBySystem(const fs::path& path) {
  const std::string text = path.lexically_normal().string();
  return text.starts_with("/dev/") || text.starts_with("/proc/");
}

FileResult CheckRegular(const struct stat& info) {
  if (S_ISREG(info.st_mode)) return {};
  if (S_ISDIR(info.st_mode)) return ResultOf(EISDIR);
  if (S_ISLNK(info.st_mode)) return RefusedAs(FailureCause::IsLink);
  return RefusedAs(FailureCause::NotRegular);
}

int FlagsOf(Way way, Links links) {
  const int follow = links == Links::Refuse ? O_NOFOLLOW : 0;
  if (way == Way::Read) return O_RDONLY | follow;
  if (way == Way::New || way == Way::Private) return O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
  return O_WRONLY | O_CREAT | follow | (way == Way::Append ? O_APPEND : O_TRUNC);
}

}  // namespace

void Prepare() {
  struct sigaction action {};
  if (sigaction(SIGXFSZ, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &action, nullptr);
}

void FlushFolderOf(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  const int opened =
      open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return;
  fsync(opened);
  close(opened);
}

FileResult Lock(const std::string& path, Handle& file, bool& taken) {
  taken = false;
  constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW;
  const int opened = open(path.c_str(), kFlags, kNewFileMode);
  if (opened < 0) return ResultOf(errno);
  const int error = LockFile(opened);
  taken = error == 0;
  if (taken) {
    file = opened;
  } else {
    close(opened);
  }
  return ResultOf(error == EWOULDBLOCK ? 0 : error);
}

FileResult Open(const std::string& path, Way way, Links links, Handle& file) {
  const mode_t mode = way == Way::Private ? S_IRUSR | S_IWUSR : kNewFileMode;
  // Non-blocking, so that a pipe put in a file's place holds nobody up.
  constexpr int kCommonFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  // Looked at before, since merely opening a device can do something to it.
  struct stat info {};
  const bool follow = links == Links::Follow;
  const bool is_new = way == Way::New || way == Way::Private;
  if (!is_new && (follow ? stat(path.c_str(), &info) : lstat(path.c_str(), &info)) == 0) {
    FileResult kind = CheckRegular(info);
    if (!kind) return kind;
  }
  const int opened = open(path.c_str(), FlagsOf(way, links) | kCommonFlags, mode);
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

FileResult Flush(Handle file) {
  // A disc that knows no such thing has nothing to bring anywhere.
  const bool done = TEMP_FAILURE_RETRY(fsync(file)) == 0 || errno == EINVAL || errno == ENOSYS;
  return ResultOf(done ? 0 : errno);
}

FileResult Close(Handle file) {
  // After EINTR the handle is closed all the same: trying again could close somebody else's.
  return ResultOf(close(file) == 0 || errno == EINTR ? 0 : errno);
}

There FindPlace(std::string& path, Links links) {
  constexpr int kMostLinks = 40;
  fs::path place = path;
  if (!place.has_filename() || IsMadeUpBySystem(place)) return There::Other;
  std::error_code error;
  fs::file_status status = fs::symlink_status(place, error);
  for (int i = 0; links == Links::Follow && fs::is_symlink(status); ++i) {
    const fs::path target = fs::read_symlink(place, error);
    if (error || i == kMostLinks) return There::Other;
    place = place.parent_path() / target;
    if (!place.has_filename() || IsMadeUpBySystem(place)) return There::Other;
    status = fs::symlink_status(place, error);
  }
  path = place.string();
  if (status.type() == fs::file_type::not_found) return There::Nothing;
  return fs::is_regular_file(status) ? There::RegularFile : There::Other;
}

void TakeRights(Handle file, const std::string& path) {
  constexpr mode_t kRights = S_IRWXU | S_IRWXG | S_IRWXO;
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) return;
  mode_t rights = info.st_mode & kRights;
  const bool group_taken = fchown(file, info.st_uid, info.st_gid) == 0 ||
                           fchown(file, static_cast<uid_t>(-1), info.st_gid) == 0;
  if (!group_taken) rights &= ~static_cast<mode_t>(S_IRWXG);
  fchmod(file, rights);
}

FileResult Exchange(const std::string& from, const std::string& to) {
  if (rename(from.c_str(), to.c_str()) != 0) return ResultOf(errno);
  FlushFolderOf(to);
  return {};
}

FileResult MakePrivateFolder(const std::string& path) {
  return ResultOf(mkdir(path.c_str(), S_IRWXU) == 0 ? 0 : errno);
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
