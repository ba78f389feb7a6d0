#include "device_name.h"

#include <vector>

#include <fmt/format.h>

#include "core/device_catalogue.h"
#include "text.h"

namespace fenwright::cli {
std::string ListDeviceNames() {
  std::string names;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    names += fmt::format("  {}\n", device.DisplayName);
  }
  return names;
}

int FindDeviceIndex(std::string_view name, core::Sentence& error) {
  const auto devices = core::DeviceCatalogue();
  const std::string wanted = LowerCase(name);
  std::vector<int> found;
  for (int index = 0; index < static_cast<int>(devices.size()); ++index) {
    const std::string_view candidate = devices[static_cast<std::size_t>(index)].DisplayName;
    if (candidate == name) return index;
    if (LowerCase(candidate).find(wanted) != std::string::npos) found.push_back(index);
  }
  if (found.size() == 1 && !wanted.empty()) return found.front();
  if (found.empty() || wanted.empty()) {
    error = {
        fmt::format("「{}」というデバイスはありません。デバイスは次のとおりです:\n{}", name,
                    ListDeviceNames()),
        fmt::format("no device is called \"{}\"; the devices are:\n{}", name, ListDeviceNames())};
    return -1;
  }
  std::string candidates;
  for (const int index : found) {
    candidates += fmt::format("  {}\n", devices[static_cast<std::size_t>(index)].DisplayName);
  }
  error = {fmt::format("「{}」は二つ以上のデバイスの名前に当てはまります:\n{}", name, candidates),
           fmt::format("\"{}\" is part of more than one device's name:\n{}", name, candidates)};
  return -1;
}

}  // namespace fenwright::cli
