#include "ui/qt_hand_edit_form.h"

#include <QLineEdit>
#include <QRadioButton>

#include "ui/hand_edit_box.h"
#include "ui/text.h"

namespace fenwright::ui {

std::string QtHandEditForm::AddressText() const { return ToUtf8(box_.Address()->text()); }

std::string QtHandEditForm::DataText() const { return ToUtf8(box_.Data()->text()); }

void QtHandEditForm::SetDataText(std::string_view text) { box_.Data()->setText(ToQString(text)); }

bool QtHandEditForm::FlashChosen() const { return box_.FlashOption()->isChecked(); }

}  // namespace fenwright::ui
