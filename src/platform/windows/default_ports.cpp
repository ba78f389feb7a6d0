#include "platform/system/port_names.h"

namespace fenwright::platform {

const char kFolderSeparator = '\\';

std::string DefaultDevicePath(int com_number) {
  if (com_number < 1 || com_number > kLastComNumber) return "";
  // Without the prefix the system knows the numbers up to 9 alone.
  return R"(\\.\COM)" + std::to_string(com_number);
}

}  // namespace fenwright::platform
