#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/port_info.h"

namespace fenwright::platform {

/// What the system knows about its serial ports. `path_of` gives the device path of a COM number,
/// "" for none.
std::unique_ptr<PortInfos> MakeSystemPortInfos(std::function<std::string(int)> path_of);

}  // namespace fenwright::platform
