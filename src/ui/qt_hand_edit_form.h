#pragma once

#include "screen/hand_edit_form.h"

namespace fenwright::ui {

class HandEditBox;

/// The hand-edit frame of the main window.
class QtHandEditForm final : public screen::HandEditForm {
 public:
  explicit QtHandEditForm(HandEditBox& box) : box_(box) {}
  [[nodiscard]] std::string AddressText() const override;
  [[nodiscard]] std::string DataText() const override;
  void SetDataText(std::string_view text) override;
  [[nodiscard]] bool FlashChosen() const override;

 private:
  HandEditBox& box_;
};

}  // namespace fenwright::ui
