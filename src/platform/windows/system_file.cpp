#include "platform/system/system_file.h"

#include <algorithm>
#include <windows.h>

#include "platform/windows/patience.h"
#include "platform/windows/system_path.h"
#include "platform/windows/system_reason.h"

namespace fenwright::platform::system_file {
namespace {

using Status = FileResult::Status;

constexpr Patience kPatience{.Attempts = 11, .MillisecondsBetween = 50};

FileResult ResultOf(DWORD error) {
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

FileResult LastResult() { return ResultOf(GetLastError()); }

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

/// Makes `attempt`, which is true for success, again while the file is held.
template <typename Attempt>
DWORD TryPatiently(const std::wstring& path, Attempt attempt) {
  return WithPatience(
      kPatience, [&] { return attempt() ? DWORD{ERROR_SUCCESS} : GetLastError(); },
      [&](DWORD error) { return IsHeld(error, path); });
}

/// What a file is that was opened without following links.
enum class Kind { Usual, Link, OtherReparsePoint };

Kind KindOf(HANDLE file) {
  FILE_ATTRIBUTE_TAG_INFO info{};
  if (GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof info) == 0 ||
      (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    return Kind::Usual;
  }
  return IsReparseTagNameSurrogate(info.ReparseTag) ? Kind::Link : Kind::OtherReparsePoint;
}

DWORD AccessOf(Way way) {
  if (way == Way::Read) return GENERIC_READ;
  return way == Way::Append ? FILE_APPEND_DATA | SYNCHRONIZE : GENERIC_WRITE;
}

}  // namespace

void Prepare() {}

FileResult Open(const std::string& path, Way way, Links links, Handle& file) {
  // Other programs may do with the file what they like, as on any other system.
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const std::wstring name = SystemPath(path);
  if (IsFolder(GetFileAttributesW(name.c_str()))) return {Status::AccessRefused, "Is a directory"};
  HANDLE opened = INVALID_HANDLE_VALUE;
  const DWORD follow = links == Links::Refuse ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
  const DWORD error = TryPatiently(name, [&] {
    opened = CreateFileW(name.c_str(), AccessOf(way), kShareAll, nullptr,
                         way == Way::Read ? OPEN_EXISTING : OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL | follow, nullptr);
    return opened != INVALID_HANDLE_VALUE;
  });
  if (error != ERROR_SUCCESS) return ResultOf(error);
  const Kind kind = links == Links::Refuse ? KindOf(opened) : Kind::Usual;
  if (kind == Kind::OtherReparsePoint) {
    // A file of a cloud store, say, is no link: it is opened by way of who keeps it.
    CloseHandle(opened);
    return Open(path, way, Links::Follow, file);
  }
  FileResult result;
  if (kind == Kind::Link) {
    result = {Status::AccessRefused, kIsLinkReason};
  } else if (GetFileType(opened) != FILE_TYPE_DISK) {
    // A few names ("CON", "NUL") are devices in every folder.
    result = {Status::AccessRefused, "Not a regular file"};
  } else if (way == Way::Replace && SetEndOfFile(opened) == 0) {
    // Cut after opening, not by it: that would be refused for a hidden file.
    result = LastResult();
  }
  if (result) {
    file = opened;
  } else {
    CloseHandle(opened);
  }
  return result;
}

FileResult Read(Handle file, std::span<char> room, std::size_t& count) {
  DWORD taken = 0;
  if (ReadFile(file, room.data(), static_cast<DWORD>(room.size()), &taken, nullptr) == 0) {
    return LastResult();
  }
  count = taken;
  return {};
}

FileResult Write(Handle file, std::string_view& bytes) {
  constexpr std::size_t kMostAtOnce = std::size_t{16} << 20;
  DWORD written = 0;
  const DWORD wanted = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
  if (WriteFile(file, bytes.data(), wanted, &written, nullptr) == 0) return LastResult();
  if (written == 0) return ResultOf(ERROR_DISK_FULL);
  bytes.remove_prefix(written);
  return {};
}

FileResult Close(Handle file) { return CloseHandle(file) != 0 ? FileResult{} : LastResult(); }

bool Exists(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(SystemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !IsFolder(attributes);
}

void Delete(const std::string& path) {
  const std::wstring name = SystemPath(path);
  TryPatiently(name, [&] { return DeleteFileW(name.c_str()) != 0; });
}

FileResult InvalidPath() { return ResultOf(ERROR_INVALID_NAME); }

FileResult TooLarge() { return ResultOf(ERROR_FILE_TOO_LARGE); }

}  // namespace fenwright::platform::system_file
