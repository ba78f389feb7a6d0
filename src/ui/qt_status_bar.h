#pragma once

#include "screen/status_bar.h"

namespace fenwright::ui {

class MainWindow;

/// The five panels of the main window.
class QtStatusBar final : public screen::StatusBar {
 public:
  explicit QtStatusBar(MainWindow& window) : window_(window) {}
  void SetPanelText(screen::Panel panel, std::string_view text) override;

 private:
  MainWindow& window_;
};

}  // namespace fenwright::ui
