#pragma once

#include <string>

namespace fenwright::platform {

/// The system's words for an `errno` value. They are plain ASCII whatever the locale, and so always
/// valid UTF-8.
std::string SystemReason(int error);

}  // namespace fenwright::platform
