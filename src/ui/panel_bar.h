#pragma once

#include <array>

#include <QStatusBar>

#include "screen/status_bar.h"

namespace fenwright::ui {

class ElidedLabel;

/// The status bar of the main window with its five panels.
class PanelBar final : public QStatusBar, public screen::StatusBar {
  Q_OBJECT

 public:
  PanelBar();

  void SetPanelText(screen::Panel panel, std::string_view text) override;

  [[nodiscard]] ElidedLabel* PanelOf(screen::Panel panel) const;

 signals:
  /// The user has clicked a panel that names a port.
  void PortClicked();

 private:
  std::array<ElidedLabel*, 5> panels_{};
};

}  // namespace fenwright::ui
