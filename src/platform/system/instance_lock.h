#pragma once

#include <memory>
#include <string>

#include "platform/single_instance.h"

namespace fenwright::platform {

/// The system's way to tell whether another run holds `name` (letters, digits, "-" and "."). Where
/// it takes a file, that is `folder`/`name`.lock; the folder is created when missing. The file
/// stays behind: what counts is the lock on it, not its being there or what is in it.
std::unique_ptr<SingleInstance> MakeInstanceLock(const std::string& folder,
                                                 const std::string& name);

}  // namespace fenwright::platform
