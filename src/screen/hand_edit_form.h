#pragma once

#include <string>
#include <string_view>

namespace fenwright::screen {

/// The frame in which one cell of a buffer is looked at and changed by hand (`txtAddress`,
/// `txtData`, `OptionProgram`, `OptionEeprom`).
class HandEditForm {
 public:
  virtual ~HandEditForm() = default;
  [[nodiscard]] virtual std::string AddressText() const = 0;
  [[nodiscard]] virtual std::string DataText() const = 0;
  virtual void SetDataText(std::string_view text) = 0;
  /// True for the flash option, false for the EEPROM option.
  [[nodiscard]] virtual bool FlashChosen() const = 0;
};

}  // namespace fenwright::screen
