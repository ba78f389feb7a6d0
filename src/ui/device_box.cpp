#include "ui/device_box.h"

#include <QAccessibleWidget>
#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/fonts.h"
#include "ui/icons.h"

namespace fenwright::ui {
namespace {

constexpr int kDeviceBoxMargin = 6;
constexpr int kSelectorHeight = 26;

QLabel* SizeLabel(const QString& object_name, const QString& accessible_name) {
  auto* label = new QLabel;
  Name(label, object_name, accessible_name);
  label->setTextFormat(Qt::PlainText);
  // The two texts are padded so that their colons stand in one column of a monospaced font.
  label->setFont(MonospacedInterfaceFont());
  return label;
}

/// The box to a screen reader: with the open menu behind its other children.
class DeviceBoxAccess final : public QAccessibleWidget {
 public:
  explicit DeviceBoxAccess(DeviceBox* box)
      : QAccessibleWidget(box, QAccessible::Grouping), offer_(box->Offer()) {}

  int childCount() const override {
    return QAccessibleWidget::childCount() + (offer_->isVisible() ? 1 : 0);
  }
  QAccessibleInterface* child(int index) const override {
    const bool is_offer = offer_->isVisible() && index == QAccessibleWidget::childCount();
    return is_offer ? QAccessible::queryAccessibleInterface(offer_)
                    : QAccessibleWidget::child(index);
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    const bool is_offer = child && child->object() == offer_ && offer_->isVisible();
    return is_offer ? QAccessibleWidget::childCount() : QAccessibleWidget::indexOfChild(child);
  }

 private:
  QMenu* offer_;
};

QAccessibleInterface* MakeAccess(const QString& class_name, QObject* object) {
  if (class_name != DeviceBox::staticMetaObject.className()) return nullptr;
  return new DeviceBoxAccess(static_cast<DeviceBox*>(object));
}

}  // namespace

DeviceBox::DeviceBox()
    :  // Picking a device discards the loaded file.
      selector_(new SteadyComboBox),
      socket_(new QToolButton),
      job_(new QToolButton),
      offer_(new QMenu(this)),
      frame_(new QFrame),
      flash_size_(SizeLabel("Lbl_flash_size", "プログラムメモリの容量")),
      eeprom_size_(SizeLabel("Lbl_eeprom_size", "EEPROMデータメモリの容量")) {
  // Installing it again does nothing.
  QAccessible::installFactory(MakeAccess);
  Name(this, "fraDevice", "デバイスの設定");
  setFrameStyle(StyledPanel | Sunken);
  Name(selector_, "Combo_device", "デバイス",
       "書き込むデバイスを選びます。選び直すとバッファーは消去されます。");
  selector_->setMaxVisibleItems(20);
  selector_->setMinimumHeight(kSelectorHeight);
  connect(selector_, &QComboBox::activated, this, &DeviceBox::Picked);

  Name(socket_, "cmdReadSocket", "ソケットのデバイスを調べる",
       "ソケットのデバイスのシグネチャを読み、合うデバイスを示します。"
       "選んでもバッファーの内容は残ります。");
  socket_->setIcon(ChipIcon());
  socket_->setText("?");
  socket_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  socket_->setFocusPolicy(Qt::StrongFocus);
  socket_->setFixedHeight(kSelectorHeight);
  connect(socket_, &QToolButton::clicked, this, &DeviceBox::SocketAsked);
  Name(job_, "cmdJob", "ジョブ",
       "デバイス、ファイル、ヒューズの選択をジョブファイルに保存し、開きます (Alt+J)。"
       "同じことをするコマンドラインも出ます。");
  job_->setText("ジョブ");
  job_->setShortcut(QKeySequence(Qt::ALT | Qt::Key_J));
  job_->setFocusPolicy(Qt::StrongFocus);
  job_->setFixedHeight(kSelectorHeight);
  connect(job_, &QToolButton::clicked, this, &DeviceBox::JobAsked);
  Name(offer_, "mnuSocketDevices", "ソケットのデバイス");

  Name(frame_, "fraDeviceInfo", "デバイスの情報");
  frame_->setVisible(false);
  auto* sizes = new QHBoxLayout(frame_);
  sizes->setContentsMargins(2, 0, 2, 0);
  sizes->setSpacing(2 * kDeviceBoxMargin);
  sizes->addWidget(flash_size_);
  sizes->addWidget(eeprom_size_);
  sizes->addStretch(1);

  auto* caption = new QLabel("デバイス");
  Name(caption, "lblDevice", caption->text());
  caption->setBuddy(selector_);
  auto* choice = new QHBoxLayout;
  choice->setSpacing(kDeviceBoxMargin);
  choice->addWidget(caption);
  choice->addWidget(selector_, 1);
  choice->addWidget(socket_);
  choice->addWidget(job_);

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(kDeviceBoxMargin, 3, kDeviceBoxMargin, 3);
  rows->setSpacing(2);
  rows->addLayout(choice);
  rows->addWidget(frame_);
}

void DeviceBox::SetDevices(const std::vector<std::string>& display_names) {
  selector_->clear();
  for (const std::string& name : display_names) selector_->addItem(ToQString(name));
  selector_->setCurrentIndex(-1);
}

std::string DeviceBox::DeviceText() const { return ToUtf8(selector_->currentText()); }

void DeviceBox::OfferDevices(const std::vector<int>& indexes) {
  offer_->clear();
  for (const int index : indexes) {
    const bool selected = index == DeviceIndex();
    const QString name = selector_->itemText(index);
    auto* const item = new QAction(selected ? name + " (選択中)" : name + " に変更", offer_);
    item->setObjectName("mnuSocketDevice_" + QString::number(index));
    item->setEnabled(!selected);
    connect(item, &QAction::triggered, this, [this, index] { emit SocketDevicePicked(index); });
    offer_->addAction(item);
  }
  if (!indexes.empty()) offer_->popup(socket_->mapToGlobal(QPoint(0, socket_->height())));
}

int DeviceBox::DeviceIndex() const { return selector_->currentIndex(); }

void DeviceBox::SetDeviceIndex(int index) { selector_->setCurrentIndex(index); }

void DeviceBox::SetMemoryLabels(std::string_view flash, std::string_view eeprom) {
  ShowText(flash_size_, flash);
  ShowText(eeprom_size_, eeprom);
}

void DeviceBox::ShowDeviceFrame() { frame_->setVisible(true); }

}  // namespace fenwright::ui
