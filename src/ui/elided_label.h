#pragma once

#include <QLabel>

namespace fenwright::ui {

/// One line of text that ends in "…" where the label is too narrow; text() stays whole, and the
/// tool tip shows it.
class ElidedLabel : public QLabel {
  Q_OBJECT

 public:
  explicit ElidedLabel(QWidget* parent = nullptr);

  /// Sets text, tool tip and accessible description.
  void SetText(const QString& text);

  /// Puts a small widget before the text, which makes room for it while it is visible. The label
  /// becomes its parent.
  void SetLead(QWidget* lead);

  [[nodiscard]] QSize minimumSizeHint() const override;

 signals:
  /// The left button was let go over the label.
  void Clicked();

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  /// Where text and lead stand.
  [[nodiscard]] QRect Area() const;

  QWidget* lead_ = nullptr;
};

}  // namespace fenwright::ui
