#pragma once

#include <string>

#include "platform/serial_control.h"

namespace fenwright::platform {

/// What it means that the device `path` could not be opened: the status for the `errno` value
/// `error`, and a reason in Japanese that names the cause and the cure, followed by the system's
/// words in parentheses.
///
/// - ENOENT, ENXIO, ENODEV: missing; the reason names the path.
/// - EACCES, EPERM: no permission; the reason names the group that owns the device and the command
///   that makes the user a member of it.
/// - EBUSY, EWOULDBLOCK (the device's lock is held): busy.
/// - anything else: failed.
PortOpenResult DescribePortFailure(const std::string& path, int error);

}  // namespace fenwright::platform
