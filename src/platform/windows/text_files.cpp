#include "platform/system/text_files.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>
#include <utility>
#include <vector>
#include <windows.h>

#include "platform/windows/patience.h"
#include "platform/windows/system_path.h"
#include "platform/windows/system_reason.h"
#include "platform/windows/wide_text.h"

namespace fenwright::platform {
namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr std::size_t kBlock = std::size_t{64} << 10;
/// Other programs may do with the file what they like, as on any other system.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

constexpr Patience kPatience{.Attempts = 11, .MillisecondsBetween = 50};

constexpr int kTemporaryNames = 100;

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
  return platform::WithPatience(kPatience, attempt,
                                [&](DWORD error) { return IsHeld(error, path); });
}

/// `Examine` opens what is there for writing and leaves it as it is.
enum class Way { Read, Examine, Replace, Append };

DWORD OpenOnce(const std::wstring& path, Way way, File& file) {
  const DWORD access = way == Way::Read     ? GENERIC_READ
                       : way == Way::Append ? FILE_APPEND_DATA | SYNCHRONIZE
                                            : GENERIC_WRITE;
  const DWORD creation = way == Way::Read || way == Way::Examine ? OPEN_EXISTING : OPEN_ALWAYS;
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

FileResult WriteInPlace(std::string_view path, std::string_view content) {
  File file;
  const FileResult opened = Open(path, Way::Replace, file);
  return opened ? WriteAndClose(file, content) : opened;
}

/// A full path; `Name` is empty when it names no whole file.
struct Target {
  std::wstring Path;
  std::wstring Folder;
  std::wstring Name;
};

Target Divided(const std::wstring& path) {
  const std::size_t name_start = path.rfind(L'\\') + 1;
  const std::wstring name = path.substr(name_start);
  // A colon leads to one of the streams in a file.
  if (name.find(L':') != std::wstring::npos) return {};
  return {path, path.substr(0, name_start), name};
}

/// Where an open file is, all links followed; empty when the system does not say.
std::wstring PlaceOf(const File& file) {
  constexpr DWORD kForm = FILE_NAME_NORMALIZED | VOLUME_NAME_DOS;
  const DWORD size = GetFinalPathNameByHandleW(file.Handle(), nullptr, 0, kForm);
  std::wstring path(size, L'\0');
  path.resize(GetFinalPathNameByHandleW(file.Handle(), path.data(), size, kForm));
  return path;
}

/// What a path stands for, `existing` being the file that was found there, if any.
Target TargetOf(std::string_view path, const File& existing) {
  const std::wstring full = SystemPath(FullPath(ToWide(path)));
  const DWORD attributes = GetFileAttributesW(full.c_str());
  const bool is_link =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (!is_link) return Divided(full);
  return existing.IsOpen() ? Divided(PlaceOf(existing)) : Target{};
}

/// Whom the system lets do what with a file; empty when it does not say.
std::vector<std::byte> RightsOf(const File& file) {
  DWORD size = 0;
  GetKernelObjectSecurity(file.Handle(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<std::byte> rights(size);
  if (GetKernelObjectSecurity(file.Handle(), DACL_SECURITY_INFORMATION, rights.data(), size,
                              &size) == 0) {
    return {};
  }
  return rights;
}

/// A folder that takes no new file, or a file that does not let itself be replaced.
bool IsRefused(DWORD error) {
  return error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT ||
         error == ERROR_SHARING_VIOLATION || error == ERROR_FILE_EXISTS ||
         error == ERROR_FILENAME_EXCED_RANGE;
}

/// A new file that goes with the object, unless it has taken another one's place.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  ~TemporaryFile() {
    file_.Close();
    if (path_.empty()) return;
    WithPatience(path_, [this]() -> DWORD {
      return DeleteFileW(path_.c_str()) != 0 ? ERROR_SUCCESS : GetLastError();
    });
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  DWORD Create(const std::wstring& folder, DWORD attributes) {
    const std::wstring start =
        folder + L".fenwright-" + std::to_wstring(GetCurrentProcessId()) + L"-";
    for (int i = 0; i < kTemporaryNames; ++i) {
      const std::wstring path = SystemPath(start + std::to_wstring(i));
      file_ = File(CreateFileW(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_NEW,
                               attributes, nullptr));
      if (file_.IsOpen()) {
        path_ = path;
        return ERROR_SUCCESS;
      }
      const DWORD error = GetLastError();
      if (error != ERROR_FILE_EXISTS) return error;
    }
    return ERROR_FILE_EXISTS;
  }

  /// True when it differs from another file in nothing but content and age.
  [[nodiscard]] bool IsLike(const File& other, DWORD attributes_of_other) const {
    // Whatever is written gets the archive attribute.
    constexpr DWORD kIgnored = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL;
    BY_HANDLE_FILE_INFORMATION own{};
    return GetFileInformationByHandle(file_.Handle(), &own) != 0 &&
           ((own.dwFileAttributes ^ attributes_of_other) & ~kIgnored) == 0 &&
           RightsOf(file_) == RightsOf(other);
  }

  FileResult Fill(std::string_view content) { return WriteAndClose(file_, content); }

  DWORD MoveTo(const std::wstring& path) {
    const DWORD error = WithPatience(path, [&]() -> DWORD {
      return MoveFileExW(path_.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0
                 ? ERROR_SUCCESS
                 : GetLastError();
    });
    if (error == ERROR_SUCCESS) path_.clear();
    return error;
  }

 private:
  std::wstring path_;
  File file_;
};

/// Has a file with the content take the place of what is there. Nothing when that cannot be: what
/// is there is untouched then, and may be written in place.
std::optional<FileResult> Replace(std::string_view path, std::string_view content) {
  constexpr DWORD kAttributesKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  File existing;
  const FileResult opened = Open(path, Way::Examine, existing);
  const bool is_new = opened.Code == FileResult::Status::NotFound;
  if (!opened && !is_new) return opened;
  const Target target = TargetOf(path, existing);
  if (target.Name.empty()) return std::nullopt;
  BY_HANDLE_FILE_INFORMATION info{};
  if (!is_new &&
      (GetFileInformationByHandle(existing.Handle(), &info) == 0 || info.nNumberOfLinks != 1)) {
    return std::nullopt;
  }

  TemporaryFile replacement;
  DWORD error = replacement.Create(
      target.Folder, FILE_ATTRIBUTE_ARCHIVE | (info.dwFileAttributes & kAttributesKept));
  if (IsRefused(error)) return std::nullopt;
  if (error != ERROR_SUCCESS) return ResultOf(error);
  if (!is_new && !replacement.IsLike(existing, info.dwFileAttributes)) return std::nullopt;
  FileResult filled = replacement.Fill(content);
  if (!filled) return filled;
  existing.Close();
  error = replacement.MoveTo(target.Path);
  if (IsRefused(error)) return std::nullopt;
  return ResultOf(error);
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
  const std::optional<FileResult> replaced = Replace(path, content);
  return replaced ? *replaced : WriteInPlace(path, content);
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
