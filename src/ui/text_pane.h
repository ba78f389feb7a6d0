#pragma once

#include <QScrollArea>

namespace fenwright::ui {

class WrappedLabel;

/// A place for a text of several lines that would like to be as high as the text, and can be as low
/// as some lines of it: then it is scrolled. The keyboard reaches it only where there is something
/// to scroll.
class TextPane final : public QScrollArea {
  Q_OBJECT

 public:
  /// Takes the label. The pane is never lower than `least_lines`, or than the text where that has
  /// less. It would like to be as high as `reserved_lines` even where the text has less.
  TextPane(WrappedLabel* label, int least_lines, int reserved_lines = 0);

  /// Sets the label's text; the pane is hidden while there is none.
  void SetText(const QString& text);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  [[nodiscard]] int WantedHeight() const;
  void LetTheKeyboardScroll();

  WrappedLabel* label_;
  int least_lines_;
  int reserved_lines_;
};

}  // namespace fenwright::ui
