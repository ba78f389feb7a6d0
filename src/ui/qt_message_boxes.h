#pragma once

#include "screen/message_boxes.h"

class QWidget;

namespace fenwright::ui {

/// Modal message boxes over a window.
class QtMessageBoxes final : public screen::MessageBoxes {
 public:
  explicit QtMessageBoxes(QWidget* parent) : parent_(parent) {}
  void Show(screen::MessageIcon icon, std::string_view title, std::string_view text) override;
  void ShowWithDetail(screen::MessageIcon icon, std::string_view title, std::string_view text,
                      std::string_view detail) override;
  bool Ask(std::string_view title, std::string_view text) override;

 private:
  QWidget* parent_;
};

}  // namespace fenwright::ui
