#pragma once

#include <QLabel>

namespace fenwright::ui {

/// A text of several lines that also breaks inside a word longer than a line, such as a path. It
/// never asks for more width than it gets.
class WrappedLabel : public QLabel {
  Q_OBJECT

 public:
  explicit WrappedLabel(QWidget* parent = nullptr);

  /// Sets text and accessible description; CR LF and LF both end a line.
  void SetText(const QString& text);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;
  [[nodiscard]] bool hasHeightForWidth() const override { return true; }
  [[nodiscard]] int heightForWidth(int width) const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace fenwright::ui
