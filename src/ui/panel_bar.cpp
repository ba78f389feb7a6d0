#include "ui/panel_bar.h"

#include <initializer_list>

#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

#include "ui/controls.h"
#include "ui/elided_label.h"
#include "ui/outcome_sign.h"

namespace fenwright::ui {
namespace {

constexpr int kProgressWidth = 80;
constexpr int kSignSize = 14;

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

PanelBar::PanelBar()
    : progress_(new QProgressBar),
      progress_text_(new QLabel),
      sign_(new OutcomeSign(kSignSize)),
      report_(new QToolButton) {
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
  Name(progress_, "sbProgress", "処理の進行状況", "実行中の処理の進み具合です。");
  progress_->setFixedWidth(kProgressWidth);
  progress_->setTextVisible(false);
  Name(progress_text_, "sbProgressText", "処理の残り時間");
  Name(sign_, "sbOutcome", "結果の印");
  PanelOf(screen::Panel::Status)->SetLead(sign_);
  Name(report_, "cmdShowReport", "ベリファイ結果を表示",
       "最後のベリファイの結果を、もう一度表示します。");
  report_->setText("結果");
  connect(report_, &QToolButton::clicked, this, &PanelBar::ReportClicked);
  for (QWidget* part : std::initializer_list<QWidget*>{report_, progress_text_, progress_}) {
    // The bar of panels is as high as without them.
    part->setFixedHeight(panels_.front()->sizeHint().height());
    part->hide();
    insertWidget(1, part);
  }
}

void PanelBar::SetPanelText(screen::Panel panel, std::string_view text) {
  PanelOf(panel)->SetText(ToQString(text));
}

void PanelBar::SetOutcome(screen::Outcome outcome, std::string_view reason) {
  sign_->SetOutcome(outcome, ToQString(reason));
}

void PanelBar::ShowProgress(int percent, const QString& text, const QString& phase) {
  progress_->setValue(percent);
  if (text != progress_text_->text()) {
    progress_text_->setText(text);
    progress_text_->setAccessibleDescription(text);
  }
  for (QWidget* part : std::initializer_list<QWidget*>{progress_, progress_text_}) {
    part->setToolTip(phase);
    part->show();
  }
}

void PanelBar::HideProgress() {
  progress_->hide();
  progress_text_->hide();
}

void PanelBar::OfferReport(bool present) { report_->setVisible(present); }

ElidedLabel* PanelBar::PanelOf(screen::Panel panel) const {
  return panels_.at(static_cast<std::size_t>(panel) - 1);
}

}  // namespace fenwright::ui
