#include "platform/system/text_files.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>
#include <windows.h>

#include "platform/windows/system_reason.h"
#include "platform/windows/wide_text.h"

namespace fenwright::platform {
namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr std::size_t kBlock = std::size_t{64} << 10;
/// Other programs may do with the file what they like, as on any other system.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

constexpr int kAttempts = 11;
constexpr DWORD kMillisecondsBetweenAttempts = 50;

FileResult ResultOf(DWORD error) {
  using Status = FileResult::Status;
  switch (error) {
    case ERROR_SUCCESS:
      return {};
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
      return {Status::NotFound, SystemReason(error)};
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
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
  explicit File(HANDLE handle) : handle_(handle) {}
  File(File&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  ~File() { Close(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  File& operator=(File&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, INVALID_HANDLE_VALUE);
    }
    return *this;
  }

  [[nodiscard]] bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE Handle() const { return handle_; }

  /// A file closed before is a success.
  DWORD Close() {
    if (!IsOpen()) return ERROR_SUCCESS;
    const BOOL closed = CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE));
    return closed != 0 ? ERROR_SUCCESS : GetLastError();
  }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

/// A NUL in a path would cut it short and name another file.
bool IsUsable(std::string_view path) { return path.find('\0') == std::string_view::npos; }

std::wstring FullPath(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
  return full;
}

/// The path as the system takes it. Above a certain length it takes full paths alone, marked so
/// that it leaves them as they are.
std::wstring SystemPath(std::string_view path) {
  constexpr std::size_t kLongestPlainPath = 240;
  constexpr std::wstring_view kShare = LR"(\\)";
  std::wstring wide = ToWide(path);
  if (wide.empty() || wide.starts_with(LR"(\\?\)")) return wide;
  std::wstring full = FullPath(wide);
  if (full.size() < kLongestPlainPath) return wide;
  if (full.starts_with(kShare)) return LR"(\\?\UNC\)" + full.substr(kShare.size());
  return LR"(\\?\)" + full;
}

bool IsFolder(DWORD attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// True when somebody merely holds the file at the moment: a virus scanner or an indexer that looks
/// at what was just written. A file on its way to be deleted looks like a refused one.
bool IsHeld(DWORD error, const std::wstring& path) {
  if (error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION) return true;
  if (error != ERROR_ACCESS_DENIED) return false;
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes == INVALID_FILE_ATTRIBUTES ||
         (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) == 0;
}

/// Calls `attempt`, which gives an error code, again while the file is held.
template <typename Attempt>
DWORD WithPatience(const std::wstring& path, Attempt attempt) {
  DWORD error = attempt();
  for (int i = 1; i < kAttempts && error != ERROR_SUCCESS && IsHeld(error, path); ++i) {
    Sleep(kMillisecondsBetweenAttempts);
    error = attempt();
  }
  return error;
}

enum class Way { Read, Replace, Append };

DWORD OpenOnce(const std::wstring& path, Way way, File& file) {
  const DWORD access = way == Way::Read     ? GENERIC_READ
                       : way == Way::Append ? FILE_APPEND_DATA | SYNCHRONIZE
                                            : GENERIC_WRITE;
  const DWORD creation = way == Way::Read ? OPEN_EXISTING : OPEN_ALWAYS;
  file = File(CreateFileW(path.c_str(), access, kShareAll, nullptr, creation, FILE_ATTRIBUTE_NORMAL,
                          nullptr));
  return file.IsOpen() ? ERROR_SUCCESS : GetLastError();
}

FileResult Open(std::string_view path, Way way, File& file) {
  if (!IsUsable(path)) return ResultOf(ERROR_INVALID_NAME);
  const std::wstring name = SystemPath(path);
  if (IsFolder(GetFileAttributesW(name.c_str()))) {
    return {FileResult::Status::AccessRefused, "Is a directory"};
  }
  File opened;
  const DWORD error = WithPatience(name, [&] { return OpenOnce(name, way, opened); });
  if (error != ERROR_SUCCESS) return ResultOf(error);
  // A few names ("CON", "NUL") are devices in every folder.
  if (GetFileType(opened.Handle()) != FILE_TYPE_DISK) return NotARegularFile();
  // Cut after opening, not by it: that would be refused for a hidden file.
  if (way == Way::Replace && SetEndOfFile(opened.Handle()) == 0) return ResultOf(GetLastError());
  file = std::move(opened);
  return {};
}

/// Writes everything: the error code of the failure.
DWORD WriteAll(HANDLE handle, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    const DWORD wanted = static_cast<DWORD>(std::min(bytes.size(), kLargestFile));
    if (WriteFile(handle, bytes.data(), wanted, &count, nullptr) == 0) return GetLastError();
    if (count == 0) return ERROR_DISK_FULL;
    bytes.remove_prefix(count);
  }
  return ERROR_SUCCESS;
}

FileResult WriteAndClose(File& file, std::string_view content) {
  const DWORD write_error = WriteAll(file.Handle(), content);
  const DWORD close_error = file.Close();
  return ResultOf(write_error != ERROR_SUCCESS ? write_error : close_error);
}

DWORD ReadAll(HANDLE handle, std::string& content) {
  std::size_t size = 0;
  while (true) {
    if (content.size() - size < kBlock) content.resize(size + kBlock + size / 2);
    DWORD count = 0;
    const DWORD room = static_cast<DWORD>(content.size() - size);
    if (ReadFile(handle, content.data() + size, room, &count, nullptr) == 0) return GetLastError();
    if (count == 0) break;
    size += count;
    if (size > kLargestFile) return ERROR_FILE_TOO_LARGE;
  }
  content.resize(size);
  return ERROR_SUCCESS;
}

class SystemFileWriter final : public FileWriter {
 public:
  explicit SystemFileWriter(File file) : file_(std::move(file)) {}

  bool Write(std::string_view bytes) override {
    if (!file_.IsOpen()) return false;
    if (is_good_) is_good_ = WriteAll(file_.Handle(), bytes) == ERROR_SUCCESS;
    return is_good_;
  }

  bool Close() override {
    if (file_.Close() != ERROR_SUCCESS) is_good_ = false;
    return is_good_;
  }

 private:
  File file_;
  bool is_good_ = true;
};

}  // namespace

SystemTextFiles::SystemTextFiles() = default;

bool SystemTextFiles::Exists(std::string_view path) {
  if (!IsUsable(path)) return false;
  const DWORD attributes = GetFileAttributesW(SystemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !IsFolder(attributes);
}

FileResult SystemTextFiles::Read(std::string_view path, std::string& content) {
  content.clear();
  File file;
  FileResult opened = Open(path, Way::Read, file);
  if (!opened) return opened;
  DWORD error = ERROR_SUCCESS;
  try {
    error = ReadAll(file.Handle(), content);
  } catch (const std::bad_alloc&) {
    error = ERROR_NOT_ENOUGH_MEMORY;
  }
  if (error != ERROR_SUCCESS) content.clear();
  return ResultOf(error);
}

FileResult SystemTextFiles::Write(std::string_view path, std::string_view content) {
  File file;
  const FileResult opened = Open(path, Way::Replace, file);
  return opened ? WriteAndClose(file, content) : opened;
}

FileResult SystemTextFiles::Append(std::string_view path, std::string_view content) {
  File file;
  const FileResult opened = Open(path, Way::Append, file);
  return opened ? WriteAndClose(file, content) : opened;
}

std::unique_ptr<FileWriter> SystemTextFiles::OpenForWriting(std::string_view path,
                                                            FileResult& result) {
  File file;
  result = Open(path, Way::Replace, file);
  if (!result) return nullptr;
  return std::make_unique<SystemFileWriter>(std::move(file));
}

void SystemTextFiles::Delete(std::string_view path) {
  if (!IsUsable(path)) return;
  const std::wstring name = SystemPath(path);
  WithPatience(name, [&]() -> DWORD {
    return DeleteFileW(name.c_str()) != 0 ? ERROR_SUCCESS : GetLastError();
  });
}

}  // namespace fenwright::platform
