#include "core/device_selection.h"

#include <string>
#include <vector>

#include "core/device_catalogue.h"
#include "core/settings_keys.h"

namespace fenwright::core {

void PopulateDeviceSelector(RunContext& context) {
  std::vector<std::string> names;
  for (const DeviceEntry& device : DeviceCatalogue()) names.emplace_back(device.DisplayName);
  context.Screen.DeviceForm.SetDevices(names);
}

const DeviceEntry* SelectedDevice(const RunContext& context) {
  return FindDevice(context.Screen.DeviceForm.DeviceText());
}

void LoadSelectedDevice(RunContext& context) {
  const std::string name = context.Screen.DeviceForm.DeviceText();
  if (name.empty()) return;
  const DeviceEntry* device = FindDevice(name);
  AppState& state = context.State;
  state.DeviceCode = device ? device->DeviceCode : std::uint8_t{0};
  state.FlashWords = device ? device->FlashWords : 0;
  state.EepromBytes = device ? device->EepromBytes : 0;
}

void StoreSelectedDevice(RunContext& context) {
  context.Storage.Settings.Write(kSettingsSection, kDeviceKey,
                                 std::to_string(context.Screen.DeviceForm.DeviceIndex()));
}

void ShowMemorySizes(RunContext& context) {
  // The blank before each number is the place of its sign.
  context.Screen.DeviceForm.SetMemoryLabels(
      "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : " + std::to_string(context.State.FlashWords) + " word",
      "EEPROMﾃﾞｰﾀﾒﾓﾘ: " + std::to_string(context.State.EepromBytes) + " byte");
}

}  // namespace fenwright::core
