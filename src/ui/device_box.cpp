#include "ui/device_box.h"

#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/fonts.h"

namespace fenwright::ui {
namespace {

constexpr int kMargin = 6;

QLabel* SizeLabel(const QString& object_name, const QString& accessible_name) {
  auto* label = new QLabel;
  Name(label, object_name, accessible_name);
  label->setTextFormat(Qt::PlainText);
  // The two texts are padded so that their colons stand in one column of a monospaced font.
  label->setFont(MonospacedInterfaceFont());
  return label;
}

}  // namespace

DeviceBox::DeviceBox()
    : QGroupBox("デバイス"),
      // Picking a device discards the loaded file.
      selector_(new SteadyComboBox),
      frame_(new QFrame),
      flash_size_(SizeLabel("Lbl_flash_size", "プログラムメモリの容量")),
      eeprom_size_(SizeLabel("Lbl_eeprom_size", "EEPROMデータメモリの容量")) {
  Name(this, "fraDevice", "デバイスの設定");
  Name(selector_, "Combo_device", "デバイス",
       "書き込むデバイスを選びます。選び直すとバッファーは消去されます。");
  selector_->setMaxVisibleItems(20);
  selector_->setMinimumHeight(28);
  connect(selector_, &QComboBox::activated, this, &DeviceBox::Picked);

  Name(frame_, "fraDeviceInfo", "デバイスの情報");
  frame_->setVisible(false);
  auto* sizes = new QVBoxLayout(frame_);
  sizes->setContentsMargins(2, 2, 2, 0);
  sizes->setSpacing(2);
  sizes->addWidget(flash_size_);
  sizes->addWidget(eeprom_size_);

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  rows->setSpacing(kMargin / 2);
  rows->addWidget(selector_);
  rows->addWidget(frame_);
}

void DeviceBox::SetDevices(const std::vector<std::string>& display_names) {
  selector_->clear();
  for (const std::string& name : display_names) selector_->addItem(ToQString(name));
  selector_->setCurrentIndex(-1);
}

std::string DeviceBox::DeviceText() const { return ToUtf8(selector_->currentText()); }

int DeviceBox::DeviceIndex() const { return selector_->currentIndex(); }

void DeviceBox::SetDeviceIndex(int index) { selector_->setCurrentIndex(index); }

void DeviceBox::SetMemoryLabels(std::string_view flash, std::string_view eeprom) {
  ShowText(flash_size_, flash);
  ShowText(eeprom_size_, eeprom);
}

void DeviceBox::ShowDeviceFrame() { frame_->setVisible(true); }

}  // namespace fenwright::ui
