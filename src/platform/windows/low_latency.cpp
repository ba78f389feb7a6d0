#include "platform/system/low_latency.h"

namespace fenwright::platform {

std::string LowLatencyCure(const std::string& /*path*/) {
  return "set its latency timer to 1 ms (device manager, the port's properties, port settings, "
         "advanced)";
}

}  // namespace fenwright::platform
