#include "ui/panel_bar.h"

#include "ui/controls.h"
#include "ui/elided_label.h"

namespace fenwright::ui {
namespace {

struct PanelDesign {
  const char* Name;
  const char* AccessibleName;
  int Width;  ///< in cells of the interface font, 0 = what is left
};

constexpr std::array<PanelDesign, 5> kPanels{{
    {.Name = "sbStatusBar_1", .AccessibleName = "ステータス", .Width = 0},
    {.Name = "sbStatusBar_2", .AccessibleName = "シグネチャ", .Width = 9},
    {.Name = "sbStatusBar_3", .AccessibleName = "ボードのバージョン", .Width = 15},
    {.Name = "sbStatusBar_4", .AccessibleName = "COMポート", .Width = 6},
    {.Name = "sbStatusBar_5", .AccessibleName = "経過時間", .Width = 6},
}};

}  // namespace

PanelBar::PanelBar() {
  Name(this, "sbStatusBar", "ステータスバー");
  // The texts do not decide how wide the window is.
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  setContentsMargins(4, 0, 0, 2);
  for (std::size_t index = 0; index < kPanels.size(); ++index) {
    const PanelDesign& design = kPanels.at(index);
    auto* panel = new ElidedLabel;
    Name(panel, design.Name, design.AccessibleName);
    panel->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    panel->setMargin(2);
    if (design.Width > 0) {
      panel->setFixedWidth(design.Width * fontMetrics().horizontalAdvance('0') + 12);
    }
    connect(panel, &ElidedLabel::Clicked, this, [this, panel] {
      if (panel->text().startsWith("COM")) emit PortClicked();
    });
    addWidget(panel, design.Width > 0 ? 0 : 1);
    panels_.at(index) = panel;
  }
}

void PanelBar::SetPanelText(screen::Panel panel, std::string_view text) {
  PanelOf(panel)->SetText(ToQString(text));
}

ElidedLabel* PanelBar::PanelOf(screen::Panel panel) const {
  return panels_.at(static_cast<std::size_t>(panel) - 1);
}

}  // namespace fenwright::ui
