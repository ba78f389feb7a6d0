#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fenwright::screen {

/// The device selector (`Combo_device`) and the labels and the frame that depend on the device.
class DeviceForm {
 public:
  virtual ~DeviceForm() = default;

  /// Replaces the selector's items; nothing is selected afterwards.
  virtual void SetDevices(const std::vector<std::string>& display_names) = 0;

  /// Text of the selected item, "" when nothing is selected.
  [[nodiscard]] virtual std::string DeviceText() const = 0;

  /// Index of the selected item, -1 when nothing is selected.
  [[nodiscard]] virtual int DeviceIndex() const = 0;

  /// Selects an item without running the handler of a pick.
  virtual void SetDeviceIndex(int index) = 0;

  /// The two labels with the sizes of the memories.
  virtual void SetMemoryLabels(std::string_view flash, std::string_view eeprom) = 0;

  /// Makes the frame with the device's information visible.
  virtual void ShowDeviceFrame() = 0;
};

}  // namespace fenwright::screen
