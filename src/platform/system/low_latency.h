#pragma once

#include <string>

namespace fenwright::platform {

/// What the user can do when the adapter of the port `path` holds received bytes back: a request in
/// English, in small letters and without a full stop.
std::string LowLatencyCure(const std::string& path);

}  // namespace fenwright::platform
