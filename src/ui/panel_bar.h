#pragma once

#include <array>

#include <QStatusBar>

#include "screen/status_bar.h"

class QLabel;
class QProgressBar;
class QToolButton;

namespace fenwright::ui {

class ElidedLabel;
class OutcomeSign;

/// The status bar of the main window with its five panels. Behind the first of them, where the
/// status is, come a progress bar and the way back to a verify report, while there is any.
class PanelBar final : public QStatusBar, public screen::StatusBar {
  Q_OBJECT

 public:
  PanelBar();

  void SetPanelText(screen::Panel panel, std::string_view text) override;

  void SetOutcome(screen::Outcome outcome, std::string_view reason) override;

  /// The progress of an operation whose dialog the user has closed: the bar, per cent and remaining
  /// time in words, and the phase, which the tool tip says.
  void ShowProgress(int percent, const QString& text, const QString& phase);
  void HideProgress();

  /// Whether there is a verify report to be shown again.
  void OfferReport(bool present);

  [[nodiscard]] ElidedLabel* PanelOf(screen::Panel panel) const;

 signals:
  /// The user has clicked a panel that names a port.
  void PortClicked();

  /// The user wants to see the verify report.
  void ReportClicked();

 private:
  std::array<ElidedLabel*, 5> panels_{};
  QProgressBar* progress_;
  QLabel* progress_text_;
  OutcomeSign* sign_;
  QToolButton* report_;
};

}  // namespace fenwright::ui
