#include <array>

#include "platform/system/port_names.h"

namespace fenwright::platform {
namespace {

struct DeviceFamily {
  int FirstNumber;
  int LastNumber;
  std::string_view Prefix;
};

constexpr std::array<DeviceFamily, 3> kFamilies{{
    {.FirstNumber = 1, .LastNumber = 4, .Prefix = "/dev/ttyS"},
    {.FirstNumber = 5, .LastNumber = 12, .Prefix = "/dev/ttyUSB"},
    {.FirstNumber = 13, .LastNumber = kLastListedComNumber, .Prefix = "/dev/ttyACM"},
}};

}  // namespace

const char kFolderSeparator = '/';

std::string DefaultDevicePath(int com_number) {
  for (const DeviceFamily& family : kFamilies) {
    if (com_number >= family.FirstNumber && com_number <= family.LastNumber) {
      return std::string(family.Prefix) + std::to_string(com_number - family.FirstNumber);
    }
  }
  return "";
}

}  // namespace fenwright::platform
