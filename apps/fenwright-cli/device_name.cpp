#include "device_name.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "suggest.h"
#include "text.h"

namespace fenwright::cli {

std::string ListDeviceNames() {
  std::string names;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    names += fmt::format("  {}\n", device.DisplayName);
  }
  return names;
}

nlohmann::json DeviceAsJson(const core::DeviceEntry& device) {
  return {{"name", device.DisplayName},
          {"alias", core::DeviceAlias(device.DisplayName)},
          {"flash_words", device.FlashWords},
          {"eeprom_bytes", device.EepromBytes},
          {"device_code", device.DeviceCode},
          {"signature", {0x1E, device.Signature[0], device.Signature[1]}}};
}

int FindDeviceIndex(std::string_view name, core::Sentence& error) {
  const auto devices = core::DeviceCatalogue();
  const std::string wanted = LowerCase(name);
  std::vector<int> found;
  for (int index = 0; index < static_cast<int>(devices.size()); ++index) {
    const std::string_view candidate = devices[static_cast<std::size_t>(index)].DisplayName;
    if (candidate == name || LowerCase(core::DeviceAlias(candidate)) == wanted) return index;
    if (LowerCase(candidate).find(wanted) != std::string::npos) found.push_back(index);
  }
  if (found.size() == 1 && !wanted.empty()) return found.front();
  if (found.empty() || wanted.empty()) {
    std::vector<std::string> aliases;
    for (const core::DeviceEntry& device : devices)
      aliases.push_back(core::DeviceAlias(device.DisplayName));
    const std::string meant = ClosestWord(name, aliases);
    error = {fmt::format("「{}」というデバイスはありません{}。デバイスは次のとおりです:\n{}", name,
                         meant.empty() ? "" : " (" + meant + " のことですか)", ListDeviceNames()),
             fmt::format("no device is called \"{}\"{}; the devices are:\n{}", name,
                         meant.empty() ? "" : ", did you mean " + meant + "?", ListDeviceNames())};
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
