#pragma once

#include "screen/device_form.h"

namespace fenwright::ui {

class MainWindow;

/// The device selector of the main window and what depends on the device.
class QtDeviceForm final : public screen::DeviceForm {
 public:
  explicit QtDeviceForm(MainWindow& window) : window_(window) {}
  void SetDevices(const std::vector<std::string>& display_names) override;
  [[nodiscard]] std::string DeviceText() const override;
  [[nodiscard]] int DeviceIndex() const override;
  void SetDeviceIndex(int index) override;
  void SetMemoryLabels(std::string_view flash, std::string_view eeprom) override;
  void ShowDeviceFrame() override;

 private:
  MainWindow& window_;
};

}  // namespace fenwright::ui
