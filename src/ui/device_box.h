#pragma once

#include <QGroupBox>

#include "screen/device_form.h"

class QComboBox;
class QFrame;
class QLabel;

namespace fenwright::ui {

/// The box with the device selector and, once a device was picked, the sizes of its memories.
class DeviceBox final : public QGroupBox, public screen::DeviceForm {
  Q_OBJECT

 public:
  DeviceBox();

  void SetDevices(const std::vector<std::string>& display_names) override;
  [[nodiscard]] std::string DeviceText() const override;
  [[nodiscard]] int DeviceIndex() const override;
  void SetDeviceIndex(int index) override;
  void SetMemoryLabels(std::string_view flash, std::string_view eeprom) override;
  void ShowDeviceFrame() override;

  [[nodiscard]] QComboBox* Selector() const { return selector_; }

 signals:
  /// The user has picked a device, even the one that was chosen already.
  void Picked();

 private:
  QComboBox* selector_;
  QFrame* frame_;
  QLabel* flash_size_;
  QLabel* eeprom_size_;
};

}  // namespace fenwright::ui
