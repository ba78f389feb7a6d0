#pragma once

#include <string>

#include "platform/serial_control.h"

namespace fenwright::platform {

/// What it means that the port `path` could not be opened: the status for a value of
/// GetLastError(), and a reason in Japanese that names the cause and the cure, followed by the
/// system's words in parentheses. The reason names "COM3" for the path \\.\COM3.
///
/// - ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_DEV_NOT_EXIST: missing.
/// - ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION: busy; the system keeps ports from nobody, so a
///   refusal means that another program has the port open.
/// - anything else: failed.
PortOpenResult DescribePortFailure(const std::string& path, unsigned long error);

}  // namespace fenwright::platform
