#pragma once

#include <QFrame>

#include "screen/hand_edit_form.h"

class QLineEdit;
class QPushButton;
class QRadioButton;

namespace fenwright::ui {

/// The frame in which one cell of a buffer is looked at and changed: two fields of up to four
/// digits, the choice of the memory and two buttons. It only shows and reports; what the texts mean
/// is the engine's business, so the fields take any character.
class HandEditBox final : public QFrame, public screen::HandEditForm {
  Q_OBJECT

 public:
  HandEditBox();

  [[nodiscard]] std::string AddressText() const override;
  [[nodiscard]] std::string DataText() const override;
  void SetDataText(std::string_view text) override;
  [[nodiscard]] bool FlashChosen() const override;

  [[nodiscard]] QLineEdit* Address() const { return address_; }
  [[nodiscard]] QPushButton* ReadButton() const { return read_; }
  [[nodiscard]] QPushButton* WriteButton() const { return write_; }
  [[nodiscard]] QRadioButton* EepromOption() const { return eeprom_; }

  /// Everything in the frame that the user can touch.
  [[nodiscard]] QList<QWidget*> Controls() const;

 signals:
  /// The user has chosen the other memory. What was shown of the first one is gone by then.
  void MemoryChosen();

 private:
  QLineEdit* address_;
  QLineEdit* data_;
  QRadioButton* flash_;
  QRadioButton* eeprom_;
  QPushButton* read_;
  QPushButton* write_;
};

}  // namespace fenwright::ui
