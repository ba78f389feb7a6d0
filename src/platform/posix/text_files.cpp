#include "platform/system/text_files.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/posix/system_reason.h"

namespace fenwright::platform {
namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr std::size_t kReadBlock = std::size_t{64} << 10;
constexpr mode_t kNewFileMode = 0666;
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
  File file;
  const FileResult opened = Open(path, O_WRONLY | O_CREAT | O_TRUNC, file);
  return opened ? WriteAndClose(file, content) : opened;
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
