#include "platform/windows/system_reason.h"

#include <array>
#include <string_view>
#include <windows.h>

#include "platform/windows/wide_text.h"

namespace fenwright::platform {
namespace {

/// ERROR_DISK_QUOTA_EXCEEDED, which not every header has.
constexpr DWORD kDiskQuotaExceeded = 1295;

}  // namespace

std::string SystemReason(unsigned long error) {
  std::array<wchar_t, 1024> words{};
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, error, 0, words.data(), static_cast<DWORD>(words.size()), nullptr);
  std::wstring_view text(words.data(), length);
  while (!text.empty() && (text.back() == L' ' || text.back() == L'.' || text.back() == L'。')) {
    text.remove_suffix(1);
  }
  return text.empty() ? "error " + std::to_string(error) : FromWide(text);
}

FailureCause CauseOf(unsigned long error) {
  switch (error) {
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return FailureCause::DiscFull;
    case kDiskQuotaExceeded:
    case ERROR_NOT_ENOUGH_QUOTA:
      return FailureCause::QuotaExceeded;
    case ERROR_ACCESS_DENIED:
      return FailureCause::AccessDenied;
    case ERROR_PRIVILEGE_NOT_HELD:
      return FailureCause::NotPermitted;
    case ERROR_WRITE_PROTECT:
      return FailureCause::ReadOnlyDisc;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
      return FailureCause::NotFound;
    case ERROR_DIRECTORY:
      return FailureCause::NoFolder;
    case ERROR_CANT_RESOLVE_FILENAME:
      return FailureCause::TooManyLinks;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return FailureCause::Exists;
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BUFFER_OVERFLOW:
      return FailureCause::NameTooLong;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
      return FailureCause::NameInvalid;
    case ERROR_FILE_TOO_LARGE:
      return FailureCause::FileTooLarge;
    case ERROR_TOO_MANY_OPEN_FILES:
      return FailureCause::TooManyFiles;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_BUSY:
      return FailureCause::Busy;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return FailureCause::OutOfMemory;
    case ERROR_CRC:
    case ERROR_IO_DEVICE:
    case ERROR_GEN_FAILURE:
    case ERROR_WRITE_FAULT:
    case ERROR_READ_FAULT:
    case ERROR_SEEK:
      return FailureCause::DeviceError;
    case ERROR_NOT_READY:
    case ERROR_DEV_NOT_EXIST:
    case ERROR_DEVICE_NOT_CONNECTED:
      return FailureCause::NoDevice;
    case ERROR_NOT_SAME_DEVICE:
      return FailureCause::OtherDisc;
    case ERROR_SEM_TIMEOUT:
    case ERROR_TIMEOUT:
      return FailureCause::TimedOut;
    case ERROR_INVALID_FUNCTION:
    case ERROR_INVALID_PARAMETER:
    case ERROR_INVALID_HANDLE:
      return FailureCause::InvalidRequest;
    default:
      return FailureCause::Unknown;
  }
}

}  // namespace fenwright::platform
