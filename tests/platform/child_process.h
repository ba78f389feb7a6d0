#pragma once

#include <functional>
#include <string>

namespace fenwright::platform {

/// Runs `action` in a child process and gives the text it returned, "child died" when the child
/// was ended by a signal.
std::string RunInChild(const std::function<std::string()>& action);

/// Makes the running process, a child, one of an unprivileged user in no group. A process that
/// has no privileges stays as it is.
void DropPrivileges();

/// Limits the size that files may grow to in the running process, a child.
void LimitFileSize(unsigned long bytes);

}  // namespace fenwright::platform
