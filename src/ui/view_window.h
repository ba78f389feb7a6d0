#pragma once

#include <QFont>

#include "screen/views.h"
#include "ui/child_window.h"

class QTextCursor;
class QTextEdit;

namespace fenwright::ui {

/// A child window that shows a text, read-only, in one control that fills it: a rich-text control,
/// though the texts are plain. It shows the longest dump in 10 ms.
class ViewWindow : public ChildWindow {
  Q_OBJECT

 public:
  ViewWindow(const QString& name, const QString& control_name, const QString& caption,
             const QFont& font);

  /// Replaces the text; nothing is marked in it. The part in sight stays in sight, as far as the
  /// new text reaches.
  void SetContent(const QString& text);

  /// Marks a stretch of the text, puts the text cursor there and brings it in sight. A place that
  /// the text does not have is not marked.
  void Mark(const screen::TextPlace& place);
  void ClearMark();

  [[nodiscard]] QTextEdit* TextControl() const { return text_; }

 private:
  void BringInSight(const QTextCursor& cell);

  QTextEdit* text_;
};

}  // namespace fenwright::ui
