#include "ui/hand_edit_box.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/fonts.h"

namespace fenwright::ui {
namespace {

constexpr int kDigits = 4;
constexpr int kFieldPadding = 18;
constexpr int kButtonWidth = 66;
constexpr int kEditSpacing = 6;
constexpr int kEditMargin = 4;

QLineEdit* DigitField(const QString& object_name, const QString& accessible_name,
                      const QString& tool_tip) {
  auto* field = new QLineEdit;
  Name(field, object_name, accessible_name, tool_tip);
  field->setMaxLength(kDigits);
  field->setFont(MonospacedInterfaceFont());
  field->setFixedWidth(field->fontMetrics().horizontalAdvance(QString(kDigits, '0')) +
                       kFieldPadding);
  field->setInputMethodHints(Qt::ImhPreferUppercase | Qt::ImhNoPredictiveText | Qt::ImhLatinOnly);
  // A file dropped on the field is meant for the window.
  field->setAcceptDrops(false);
  return field;
}

QPushButton* EditButton(const QString& object_name, const QString& caption,
                        const QString& accessible_name, const QString& tool_tip) {
  auto* button = new QPushButton(caption);
  Name(button, object_name, accessible_name, tool_tip);
  button->setFixedWidth(kButtonWidth);
  return button;
}

QRadioButton* MemoryOption(const QString& object_name, const QString& caption,
                           const QString& tool_tip) {
  auto* option = new QRadioButton(caption);
  Name(option, object_name, caption, tool_tip);
  return option;
}

QLabel* LabelOf(QLineEdit* field, const QString& object_name, const QString& caption) {
  auto* label = new QLabel(caption);
  Name(label, object_name, caption);
  label->setBuddy(field);
  return label;
}

}  // namespace

HandEditBox::HandEditBox()
    : address_(DigitField("txtAddress", "アドレス",
                          "16進数で1～4桁 (0-9、A-F)。プログラムメモリはワード単位です。")),
      data_(DigitField("txtData", "データ", "16進数で1～4桁 (0-9、A-F)")),
      flash_(MemoryOption("OptionProgram", "プログラムメモリ",
                          "プログラムメモリのバッファーを編集します")),
      eeprom_(MemoryOption("OptionEeprom", "EEPROMデータメモリ",
                           "EEPROMデータメモリのバッファーを編集します")),
      read_(EditButton("CmdRead", "読み出し", "バッファーの読み出し",
                       "アドレスの値をバッファーから読み出します")),
      write_(EditButton("CmdWrite", "書き込み", "バッファーへの書き込み",
                        "データをバッファーに書き込みます。チップは変わりません。")) {
  Name(this, "fraHandEdit", "バッファーの編集");
  setFrameStyle(StyledPanel | Sunken);
  flash_->setChecked(true);
  connect(flash_, &QRadioButton::toggled, this, [this] {
    data_->clear();
    emit MemoryChosen();
  });

  auto* caption = new QLabel("バッファー");
  Name(caption, "lblHandEdit", accessibleName(),
       "バッファーの1か所を見て、書き換えます。チップは変わりません。");
  auto* options = new QHBoxLayout;
  options->setSpacing(kEditSpacing);
  options->addWidget(caption);
  options->addWidget(flash_);
  options->addWidget(eeprom_);
  options->addStretch(1);

  auto* fields = new QHBoxLayout;
  fields->setSpacing(kEditSpacing);
  fields->addWidget(LabelOf(address_, "lblAddress", "アドレス"));
  fields->addWidget(address_);
  fields->addWidget(LabelOf(data_, "lblData", "データ"));
  fields->addWidget(data_);
  fields->addStretch(1);
  fields->addWidget(read_);
  fields->addWidget(write_);

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(kEditMargin, kEditMargin / 2, kEditMargin, kEditMargin / 2);
  rows->setSpacing(kEditSpacing / 2);
  rows->addLayout(options);
  rows->addLayout(fields);
}

std::string HandEditBox::AddressText() const { return ToUtf8(address_->text()); }

std::string HandEditBox::DataText() const { return ToUtf8(data_->text()); }

void HandEditBox::SetDataText(std::string_view text) { data_->setText(ToQString(text)); }

bool HandEditBox::FlashChosen() const { return flash_->isChecked(); }

QList<QWidget*> HandEditBox::Controls() const {
  return {flash_, eeprom_, address_, data_, read_, write_};
}

}  // namespace fenwright::ui
