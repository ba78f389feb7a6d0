#include "platform/posix/system_reason.h"

#include <cerrno>
#include <cstring>

namespace fenwright::platform {

std::string SystemReason(int error) {
  const char* const words = strerrordesc_np(error);
  return words != nullptr ? words : "error " + std::to_string(error);
}

FailureCause CauseOf(int error) {
  switch (error) {
    case ENOSPC:
      return FailureCause::DiscFull;
    case EDQUOT:
      return FailureCause::QuotaExceeded;
    case EACCES:
      return FailureCause::AccessDenied;
    case EPERM:
      return FailureCause::NotPermitted;
    case EROFS:
      return FailureCause::ReadOnlyDisc;
    case ENOENT:
      return FailureCause::NotFound;
    case EISDIR:
      return FailureCause::IsFolder;
    case ENOTDIR:
      return FailureCause::NoFolder;
    case ELOOP:
      return FailureCause::TooManyLinks;
    case EEXIST:
      return FailureCause::Exists;
    case ENAMETOOLONG:
      return FailureCause::NameTooLong;
    case EILSEQ:
      return FailureCause::NameInvalid;
    case EFBIG:
    case EOVERFLOW:
      return FailureCause::FileTooLarge;
    case EMFILE:
    case ENFILE:
      return FailureCause::TooManyFiles;
    case EBUSY:
    case EAGAIN:
      return FailureCause::Busy;
    case ETXTBSY:
      return FailureCause::RunningProgram;
    case ENOMEM:
      return FailureCause::OutOfMemory;
    case EIO:
      return FailureCause::DeviceError;
    case ENODEV:
    case ENXIO:
      return FailureCause::NoDevice;
    case ENOTTY:
      return FailureCause::NotTerminal;
    case EXDEV:
      return FailureCause::OtherDisc;
    case ETIMEDOUT:
      return FailureCause::TimedOut;
    case EINVAL:
      return FailureCause::InvalidRequest;
    default:
      return FailureCause::Unknown;
  }
}

}  // namespace fenwright::platform
