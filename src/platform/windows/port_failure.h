#pragma once

#include <functional>
#include <string>

#include "platform/serial_control.h"

namespace fenwright::platform {

/// The system's name of a port without the prefix that a path has: "COM3" for \\.\COM3.
std::string PortName(const std::string& path);

/// What it means that the port `path` could not be opened: the status for a value of
/// GetLastError(), and a reason in Japanese that names the cause and the cure, followed by the
/// system's words in parentheses. The reason names the port by its PortName().
///
/// - ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_DEV_NOT_EXIST: missing.
/// - ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION: busy; the system keeps ports from nobody, so a
///   refusal means that another program has the port open.
/// - anything else: failed.
PortOpenResult DescribePortFailure(const std::string& path, unsigned long error);

/// Calls `open`, which gives a value of GetLastError(), until the port is not refused any more
/// (ERROR_ACCESS_DENIED), for 0.3 s at most: some adapters' drivers refuse a port for a moment
/// after it was closed. Gives the last value.
unsigned long OpenPatiently(const std::function<unsigned long()>& open);

}  // namespace fenwright::platform
