#include "platform/system/system_file.h"

#include <algorithm>
#include <windows.h>

#include "platform/windows/patience.h"
#include "platform/windows/system_path.h"
#include "platform/windows/system_reason.h"
#include "platform/windows/wide_text.h"

namespace fenwright::platform::system_file {
namespace {

using Status = FileResult::Status;

constexpr Patience kPatience{.Attempts = 11, .MillisecondsBetween = 50};

/// Other programs may do with the file what they like, as on any other system.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

Status FileStatusOf(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS:
      return Status::Ok;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
      return Status::NotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
      return Status::AccessRefused;
    default:
      return Status::Failed;
  }
}

FileResult ResultOf(DWORD error) {
  if (error == ERROR_SUCCESS) return {};
  return {.Code = FileStatusOf(error), .Reason = SystemReason(error), .Cause = CauseOf(error)};
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

DWORD DispositionOf(Way way) {
  if (way == Way::Read) return OPEN_EXISTING;
  return way == Way::New || way == Way::Private ? CREATE_NEW : OPEN_ALWAYS;
}

}  // namespace

void Prepare() {}

/// The file system keeps names by itself.
void FlushFolderOf(const std::string& /*path*/) {}

FileResult Lock(const std::string& path, Handle& file, bool& taken) {
  // Whoever has it open shares it with nobody.
  HANDLE const opened = CreateFileW(SystemPath(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  taken = opened != INVALID_HANDLE_VALUE;
  if (taken) {
    file = opened;
    return {};
  }
  const DWORD error = GetLastError();
  return error == ERROR_SHARING_VIOLATION ? FileResult{} : ResultOf(error);
}

FileResult Open(const std::string& path, Way way, Links links, Handle& file) {
  const std::wstring name = SystemPath(path);
  const bool is_new = way == Way::New || way == Way::Private;
  if (!is_new && IsFolder(GetFileAttributesW(name.c_str())))
    return RefusedAs(FailureCause::IsFolder);
  HANDLE opened = INVALID_HANDLE_VALUE;
  const DWORD follow = links == Links::Refuse ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
  const DWORD error = TryPatiently(name, [&] {
    opened = CreateFileW(name.c_str(), AccessOf(way), kShareAll, nullptr, DispositionOf(way),
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
    result = RefusedAs(FailureCause::IsLink);
  } else if (GetFileType(opened) != FILE_TYPE_DISK) {
    // A few names ("CON", "NUL") are devices in every folder.
    result = RefusedAs(FailureCause::NotRegular);
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

FileResult Flush(Handle file) { return FlushFileBuffers(file) != 0 ? FileResult{} : LastResult(); }

FileResult Close(Handle file) { return CloseHandle(file) != 0 ? FileResult{} : LastResult(); }

There FindPlace(std::string& path, Links links) {
  const std::wstring name = SystemPath(path);
  const DWORD attributes = GetFileAttributesW(name.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return GetLastError() == ERROR_FILE_NOT_FOUND ? There::Nothing : There::Other;
  }
  if (IsFolder(attributes)) return There::Other;
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return There::RegularFile;
  if (links == Links::Refuse) return There::Other;
  HANDLE const file = CreateFileW(name.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return There::Other;
  std::wstring target(GetFinalPathNameByHandleW(file, nullptr, 0, 0), L'\0');
  target.resize(
      GetFinalPathNameByHandleW(file, target.data(), static_cast<DWORD>(target.size()), 0));
  CloseHandle(file);
  if (target.empty()) return There::Other;
  path = FromWide(target);
  return There::RegularFile;
}

/// The exchange itself takes them over.
void TakeRights(Handle /*file*/, const std::string& /*path*/) {}

FileResult Exchange(const std::string& from, const std::string& to) {
  constexpr DWORD kMoveFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  const std::wstring source = SystemPath(from);
  const std::wstring target = SystemPath(to);
  const DWORD attributes = GetFileAttributesW(target.c_str());
  const DWORD error = TryPatiently(target, [&] {
    // The first takes over what the old file was allowed to whom; it needs an old file, and not
    // every kind of disc has it.
    return ReplaceFileW(target.c_str(), source.c_str(), nullptr,
                        REPLACEFILE_IGNORE_MERGE_ERRORS | REPLACEFILE_IGNORE_ACL_ERRORS, nullptr,
                        nullptr) != 0 ||
           MoveFileExW(source.c_str(), target.c_str(), kMoveFlags) != 0;
  });
  // Hidden, say.
  if (error == ERROR_SUCCESS && attributes != INVALID_FILE_ATTRIBUTES) {
    SetFileAttributesW(target.c_str(), attributes);
  }
  return ResultOf(error);
}

/// The user's folders, which it is to be made in, are nobody else's as they are.
FileResult MakePrivateFolder(const std::string& path) {
  return CreateDirectoryW(SystemPath(path).c_str(), nullptr) != 0 ? FileResult{} : LastResult();
}

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
