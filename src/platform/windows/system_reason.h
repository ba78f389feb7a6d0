#pragma once

#include <string>

#include "platform/failure_cause.h"

namespace fenwright::platform {

/// The system's words for a value of GetLastError(), in the user's language, UTF-8, without the
/// line break and the full stop at their end.
std::string SystemReason(unsigned long error);

/// What a value of GetLastError() means.
FailureCause CauseOf(unsigned long error);

}  // namespace fenwright::platform
