#pragma once

#include <optional>
#include <vector>

#include <QFont>
#include <QTextEdit>

#include "screen/views.h"
#include "ui/child_window.h"

class QHelpEvent;
class QTextCursor;

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

  /// Marks what the chip holds differently, in place of what is marked so, puts the text cursor at
  /// the first of it and brings that in sight. What a mark is about is said where the mouse rests
  /// on it. A place that the text does not have is not marked.
  void MarkDifferences(const std::vector<screen::DifferingPlace>& places);
  void ClearDifferences();
  [[nodiscard]] int DifferenceCount() const { return static_cast<int>(differences_.size()); }

  /// Selects one of them, counted from 0, brings it in sight and says what it is about.
  void ShowDifference(int index);

  [[nodiscard]] QTextEdit* TextControl() const { return text_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Difference {
    QTextEdit::ExtraSelection Mark;
    QString Note;
  };

  [[nodiscard]] std::optional<QTextCursor> CellAt(const screen::TextPlace& place) const;
  [[nodiscard]] QRect PlaceOf(const QTextCursor& cell) const;
  void BringInSight(const QTextCursor& cell);
  void ShowMarks();
  void ShowNoteAt(const QHelpEvent& help) const;

  QTextEdit* text_;
  std::optional<QTextEdit::ExtraSelection> mark_;
  std::vector<Difference> differences_;
};

}  // namespace fenwright::ui
