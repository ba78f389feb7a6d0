#pragma once

#include <string>

namespace fenwright::platform {

/// True when the user may make files in the folder `path` (UTF-8), which exists.
bool MayWriteInto(const std::string& path);

}  // namespace fenwright::platform
