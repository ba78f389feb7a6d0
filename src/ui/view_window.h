#pragma once

#include <QFont>

#include "ui/child_window.h"

class QTextEdit;

namespace fenwright::ui {

/// A child window that shows a text, read-only, in one control that fills it: a rich-text control,
/// though the texts are plain. It shows the longest dump in 10 ms.
class ViewWindow : public ChildWindow {
  Q_OBJECT

 public:
  ViewWindow(const QString& name, const QString& control_name, const QString& caption,
             const QFont& font);

  /// Replaces the text. The part in sight stays in sight, as far as the new text reaches.
  void SetContent(const QString& text);

  [[nodiscard]] QTextEdit* TextControl() const { return text_; }

 private:
  QTextEdit* text_;
};

}  // namespace fenwright::ui
