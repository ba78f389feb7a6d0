#pragma once

#include <string>

#include "platform/failure_cause.h"

namespace fenwright::platform {

/// The system's words for an `errno` value. They are plain ASCII whatever the locale, and so always
/// valid UTF-8.
std::string SystemReason(int error);

/// What an `errno` value means.
FailureCause CauseOf(int error);

}  // namespace fenwright::platform
