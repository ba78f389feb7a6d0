#include "platform/system/text_files.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

#include <climits>

#include "platform/posix/system_reason.h"

namespace fenwright::platform {
namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr std::size_t kReadBlock = std::size_t{64} << 10;
constexpr mode_t kNewFileMode = 0666;
/// Nobody else looks into a replacement before it has the mode of what it replaces.
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kModeBits = 07777;
constexpr int kMostLinks = 40;
constexpr int kTemporaryNames = 100;
/// Non-blocking, so that a pipe put in a file's place holds nobody up.
constexpr int kCommonFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

FileResult ResultOf(int error) {
  using Status = FileResult::Status;
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

FileResult NotARegularFile() { return {FileResult::Status::AccessRefused, "Not a regular file"}; }

/// Closes its file when it goes, checked when asked to close.
class File {
 public:
  File() = default;
  explicit File(int handle) : handle_(handle) {}
  File(File&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
  ~File() { Close(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  File& operator=(File&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, -1);
    }
    return *this;
  }

  [[nodiscard]] int Handle() const { return handle_; }

  /// `errno` value of the failure, 0 for success. A file closed before is a success.
  int Close() {
    if (handle_ < 0) return 0;
    // After EINTR the handle is closed all the same: trying again could close somebody else's.
    const int result = close(std::exchange(handle_, -1));
    return result == 0 || errno == EINTR ? 0 : errno;
  }

 private:
  int handle_ = -1;
};

/// The path as the system takes it; a NUL in it would cut it short and name another file.
bool IsUsable(std::string_view path) { return path.find('\0') == std::string_view::npos; }

FileResult CheckRegular(const struct stat& info) {
  if (S_ISREG(info.st_mode)) return {};
  return S_ISDIR(info.st_mode) ? ResultOf(EISDIR) : NotARegularFile();
}

FileResult Open(std::string_view path, int flags, File& file) {
  if (!IsUsable(path)) return ResultOf(EINVAL);
  const std::string name(path);
  // Looked at before, since merely opening a device can do something to it.
  struct stat info {};
  if (stat(name.c_str(), &info) == 0) {
    FileResult kind = CheckRegular(info);
    if (!kind) return kind;
  }
  File opened(open(name.c_str(), flags | kCommonFlags, kNewFileMode));
  if (opened.Handle() < 0 || fstat(opened.Handle(), &info) != 0) return ResultOf(errno);
  // And again, since it may have been exchanged meanwhile.
  FileResult kind = CheckRegular(info);
  if (!kind) return kind;
  file = std::move(opened);
  return {};
}

/// Writes everything: `errno` value of the failure, 0 for success.
int WriteAll(int handle, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(handle, bytes.data(), bytes.size());
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0) {
      return ENOSPC;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

FileResult WriteAndClose(File& file, std::string_view content) {
  const int write_error = WriteAll(file.Handle(), content);
  const int close_error = file.Close();
  return ResultOf(write_error != 0 ? write_error : close_error);
}

FileResult WriteInPlace(std::string_view path, std::string_view content) {
  File file;
  const FileResult opened = Open(path, O_WRONLY | O_CREAT | O_TRUNC, file);
  return opened ? WriteAndClose(file, content) : opened;
}

/// The part of a path before the name, with the slash at its end; empty for the current folder.
std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

/// The path that a symbolic link stands for in the end, whether there is something or not.
std::string FollowLinks(std::string path) {
  std::array<char, PATH_MAX> target{};
  for (int i = 0; i < kMostLinks; ++i) {
    const ssize_t size = readlink(path.c_str(), target.data(), target.size());
    if (size <= 0) break;
    const std::string link(target.data(), static_cast<std::size_t>(size));
    path = link.starts_with('/') ? std::string() : FolderOf(path);
    path += link;
  }
  return path;
}

/// True when another file can take the open one's place under `path` with nothing lost: no other
/// name leads to it, nor is there a list of rights besides its mode.
bool IsReplaceable(const File& existing, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  if (fstat(existing.Handle(), &opened) != 0 || lstat(path.c_str(), &named) != 0) return false;
  // Some links in /proc lead elsewhere than their text says.
  const bool is_same = opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
  const bool has_more_rights =
      fgetxattr(existing.Handle(), "system.posix_acl_access", nullptr, 0) >= 0;
  return is_same && opened.st_nlink == 1 && !has_more_rights;
}

/// A folder that takes no new file, or does not let go of the one that is to be replaced.
bool IsRefusedByFolder(int error) {
  return error == EACCES || error == EPERM || error == EROFS || error == EBUSY || error == EXDEV ||
         error == EEXIST || error == ENAMETOOLONG;
}

/// A new file that goes with the object, unless it has taken another one's place.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  ~TemporaryFile() {
    if (!path_.empty()) unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  /// `errno` value of the failure, 0 for success; as the other calls.
  int Create(const std::string& folder, mode_t mode) {
    const std::string start = folder + ".fenwright-" + std::to_string(getpid()) + "-";
    for (int i = 0; i < kTemporaryNames; ++i) {
      const std::string path = start + std::to_string(i);
      file_ = File(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | kCommonFlags, mode));
      if (file_.Handle() >= 0) {
        path_ = path;
        return 0;
      }
      if (errno != EEXIST) return errno;
    }
    return EEXIST;
  }

  /// Takes owner, group and mode of another file.
  int BelongAs(const File& other) {
    struct stat wanted {};
    struct stat own {};
    const int handle = file_.Handle();
    if (fstat(other.Handle(), &wanted) != 0 || fstat(handle, &own) != 0) return errno;
    const bool is_owned = own.st_uid == wanted.st_uid && own.st_gid == wanted.st_gid;
    if (!is_owned && fchown(handle, wanted.st_uid, wanted.st_gid) != 0) return errno;
    if (own.st_mode != wanted.st_mode && fchmod(handle, wanted.st_mode & kModeBits) != 0) {
      return errno;
    }
    return 0;
  }

  FileResult Fill(std::string_view content) { return WriteAndClose(file_, content); }

  int MoveTo(const std::string& path) {
    if (std::rename(path_.c_str(), path.c_str()) != 0) return errno;
    path_.clear();
    return 0;
  }

 private:
  std::string path_;
  File file_;
};

/// Has a file with the content take the place of what is there. Nothing when that cannot be: what
/// is there is untouched then, and may be written in place.
std::optional<FileResult> Replace(std::string_view path, std::string_view content) {
  File existing;
  const FileResult opened = Open(path, O_WRONLY, existing);
  const bool is_new = opened.Code == FileResult::Status::NotFound;
  if (!opened && !is_new) return opened;
  const std::string target = FollowLinks(std::string(path));
  if (target.empty() || target.ends_with('/')) return std::nullopt;
  if (!is_new && !IsReplaceable(existing, target)) return std::nullopt;

  TemporaryFile replacement;
  int error = replacement.Create(FolderOf(target), is_new ? kNewFileMode : kPrivateMode);
  if (IsRefusedByFolder(error)) return std::nullopt;
  if (error != 0) return ResultOf(error);
  if (!is_new && replacement.BelongAs(existing) != 0) return std::nullopt;
  FileResult filled = replacement.Fill(content);
  if (!filled) return filled;
  error = replacement.MoveTo(target);
  if (IsRefusedByFolder(error)) return std::nullopt;
  return ResultOf(error);
}

int ReadAll(int handle, std::string& content) {
  std::size_t size = 0;
  while (true) {
    if (content.size() - size < kReadBlock) content.resize(size + kReadBlock + size / 2);
    const ssize_t count = read(handle, content.data() + size, content.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (size > kLargestFile) return EFBIG;
  }
  content.resize(size);
  return 0;
}

class SystemFileWriter final : public FileWriter {
 public:
  explicit SystemFileWriter(File file) : file_(std::move(file)) {}

  bool Write(std::string_view bytes) override {
    if (file_.Handle() < 0) return false;
    if (is_good_) is_good_ = WriteAll(file_.Handle(), bytes) == 0;
    return is_good_;
  }

  bool Close() override {
    if (file_.Close() != 0) is_good_ = false;
    return is_good_;
  }

 private:
  File file_;
  bool is_good_ = true;
};

void IgnoreFileSizeSignal() {
  struct sigaction action {};
  if (sigaction(SIGXFSZ, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &action, nullptr);
}

}  // namespace

SystemTextFiles::SystemTextFiles() { IgnoreFileSizeSignal(); }

bool SystemTextFiles::Exists(std::string_view path) {
  struct stat info {};
  return IsUsable(path) && stat(std::string(path).c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
}

FileResult SystemTextFiles::Read(std::string_view path, std::string& content) {
  content.clear();
  File file;
  FileResult opened = Open(path, O_RDONLY, file);
  if (!opened) return opened;
  int error = 0;
  try {
    error = ReadAll(file.Handle(), content);
  } catch (const std::bad_alloc&) {
    error = ENOMEM;
  }
  if (error != 0) content.clear();
  return ResultOf(error);
}

FileResult SystemTextFiles::Write(std::string_view path, std::string_view content) {
  const std::optional<FileResult> replaced = Replace(path, content);
  return replaced ? *replaced : WriteInPlace(path, content);
}

FileResult SystemTextFiles::Append(std::string_view path, std::string_view content) {
  File file;
  const FileResult opened = Open(path, O_WRONLY | O_CREAT | O_APPEND, file);
  return opened ? WriteAndClose(file, content) : opened;
}

std::unique_ptr<FileWriter> SystemTextFiles::OpenForWriting(std::string_view path,
                                                            FileResult& result) {
  File file;
  result = Open(path, O_WRONLY | O_CREAT | O_TRUNC, file);
  if (!result) return nullptr;
  return std::make_unique<SystemFileWriter>(std::move(file));
}

void SystemTextFiles::Delete(std::string_view path) {
  if (!IsUsable(path)) return;
  const std::string name(path);
  struct stat info {};
  if (lstat(name.c_str(), &info) != 0) return;
  if (S_ISREG(info.st_mode) || S_ISLNK(info.st_mode)) unlink(name.c_str());
}

}  // namespace fenwright::platform
