#pragma once

namespace fenwright::platform {

/// Locks an open file for this process alone. A lock that somebody holds is waited for a little:
/// who looks through the open files of a process that closes one keeps it, and its lock, until the
/// look is done (for microseconds, or some milliseconds on a busy machine). Gives the `errno` value
/// of what failed, EWOULDBLOCK for a lock that is held on, 0 for success.
int LockFile(int descriptor);

}  // namespace fenwright::platform
