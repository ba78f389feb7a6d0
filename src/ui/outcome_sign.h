#pragma once

#include <QLabel>

#include "screen/outcome.h"

namespace fenwright::ui {

/// What an outcome is called: "成功", "注意", "失敗", "危険"; "" for none.
QString OutcomeName(screen::Outcome outcome);

/// A small picture of an outcome, not there without one. What it means, and why, is its tool tip
/// and its accessible description.
class OutcomeSign final : public QLabel {
  Q_OBJECT

 public:
  explicit OutcomeSign(int side, QWidget* parent = nullptr);

  void SetOutcome(screen::Outcome outcome, const QString& reason);
  [[nodiscard]] screen::Outcome Outcome() const { return outcome_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  screen::Outcome outcome_ = screen::Outcome::None;
};

}  // namespace fenwright::ui
