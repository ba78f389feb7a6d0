#pragma once

#include <QMdiSubWindow>

class QPlainTextEdit;

namespace fenwright::ui {

/// A child window that shows a text, read-only, in one control that fills it.
/// Closing it hides it; it is never deleted under an operation that is about to load a text.
class ViewWindow : public QMdiSubWindow {
  Q_OBJECT

 public:
  ViewWindow(const QString& name, const QString& control_name, const QString& caption);

  /// Replaces the text. The part in sight stays in sight, as far as the new text reaches.
  void SetContent(const QString& text);

  [[nodiscard]] QPlainTextEdit* TextControl() const { return text_; }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  QPlainTextEdit* text_;
};

}  // namespace fenwright::ui
