#include "ui/qt_device_form.h"

#include <QComboBox>
#include <QFrame>
#include <QLabel>

#include "ui/main_window.h"
#include "ui/text.h"

namespace fenwright::ui {

void QtDeviceForm::SetDevices(const std::vector<std::string>& display_names) {
  QComboBox& selector = *window_.DeviceSelector();
  selector.clear();
  for (const std::string& name : display_names) selector.addItem(ToQString(name));
  selector.setCurrentIndex(-1);
}

std::string QtDeviceForm::DeviceText() const {
  return ToUtf8(window_.DeviceSelector()->currentText());
}

int QtDeviceForm::DeviceIndex() const { return window_.DeviceSelector()->currentIndex(); }

void QtDeviceForm::SetDeviceIndex(int index) { window_.DeviceSelector()->setCurrentIndex(index); }

void QtDeviceForm::SetMemoryLabels(std::string_view flash, std::string_view eeprom) {
  const auto show = [](QLabel* label, std::string_view text) {
    label->setText(ToQString(text));
    label->setAccessibleDescription(label->text());
  };
  show(window_.FlashSizeLabel(), flash);
  show(window_.EepromSizeLabel(), eeprom);
}

void QtDeviceForm::ShowDeviceFrame() { window_.DeviceFrame()->setVisible(true); }

}  // namespace fenwright::ui
