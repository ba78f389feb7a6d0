#include "platform/posix/system_reason.h"

#include <cstring>

namespace fenwright::platform {

std::string SystemReason(int error) {
  const char* const words = strerrordesc_np(error);
  return words != nullptr ? words : "error " + std::to_string(error);
}

}  // namespace fenwright::platform
