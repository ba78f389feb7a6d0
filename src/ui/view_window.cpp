#include "ui/view_window.h"

#include <algorithm>

#include <QAbstractTextDocumentLayout>
#include <QHelpEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QToolTip>

#include "ui/controls.h"

namespace fenwright::ui {
namespace {

constexpr double kViewTextMargin = 2;

constexpr const char* kDifferenceKeys = "F3 : 次の違い、Shift+F3 : 前の違い";

/// A ground on which the text stays readable, light or dark as the text's own.
QColor DifferenceGround(const QPalette& palette) {
  constexpr float kRed = 0.4F;
  const QColor base = palette.color(QPalette::Active, QPalette::Base);
  const QColor red(0xE0, 0x30, 0x30);
  const auto mixed = [](float from, float to) { return from + (to - from) * kRed; };
  return QColor::fromRgbF(mixed(base.redF(), red.redF()), mixed(base.greenF(), red.greenF()),
                          mixed(base.blueF(), red.blueF()));
}

}  // namespace

ViewWindow::ViewWindow(const QString& name, const QString& control_name, const QString& caption,
                       const QFont& font)
    : ChildWindow(name, caption, caption), text_(new QTextEdit) {
  Name(text_, control_name, caption);
  text_->setReadOnly(true);
  text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text_->setTabChangesFocus(true);
  text_->setLineWrapMode(QTextEdit::NoWrap);
  text_->setFont(font);
  text_->setFrameShape(QFrame::NoFrame);
  text_->setUndoRedoEnabled(false);
  text_->document()->setDocumentMargin(kViewTextMargin);
  // The control may shrink to nothing together with its window.
  text_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
  setWidget(text_);
  text_->viewport()->installEventFilter(this);
}

void ViewWindow::SetContent(const QString& text) {
  const int down = text_->verticalScrollBar()->value();
  const int right = text_->horizontalScrollBar()->value();
  ClearMark();
  ClearDifferences();
  text_->setPlainText(text);
  // Laid out to its end now, not when the event loop comes to it: else there is no place yet to go
  // back to.
  const QTextDocument& document = *text_->document();
  document.documentLayout()->blockBoundingRect(document.lastBlock());
  text_->verticalScrollBar()->setValue(down);
  text_->horizontalScrollBar()->setValue(right);
}

void ViewWindow::Mark(const screen::TextPlace& place) {
  const std::optional<QTextCursor> cell = CellAt(place);
  if (!cell) return;
  QTextCursor start(*cell);
  start.setPosition(cell->anchor());
  text_->setTextCursor(start);
  QTextEdit::ExtraSelection mark;
  mark.cursor = *cell;
  mark.format.setBackground(palette().brush(QPalette::Active, QPalette::Highlight));
  mark.format.setForeground(palette().brush(QPalette::Active, QPalette::HighlightedText));
  mark_ = mark;
  ShowMarks();
  BringInSight(*cell);
}

void ViewWindow::ClearMark() {
  mark_.reset();
  ShowMarks();
}

void ViewWindow::MarkDifferences(const std::vector<screen::DifferingPlace>& places) {
  ClearDifferences();
  QTextCharFormat format;
  format.setBackground(DifferenceGround(text_->palette()));
  // A line too: not everybody tells the colours apart.
  format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
  for (const screen::DifferingPlace& place : places) {
    const std::optional<QTextCursor> cell = CellAt(place.Place);
    if (!cell) continue;
    differences_.push_back(
        {.Mark = {.cursor = *cell, .format = format}, .Note = ToQString(place.Note)});
  }
  ShowMarks();
  if (differences_.empty()) return;
  const QTextCursor& first = differences_.front().Mark.cursor;
  QTextCursor start(first);
  start.setPosition(first.anchor());
  text_->setTextCursor(start);
  BringInSight(first);
}

void ViewWindow::ClearDifferences() {
  if (differences_.empty()) return;
  differences_.clear();
  QTextCursor cursor = text_->textCursor();
  cursor.clearSelection();
  text_->setTextCursor(cursor);
  text_->setAccessibleDescription({});
  ShowMarks();
}

void ViewWindow::ShowDifference(int index) {
  const Difference& difference = differences_.at(static_cast<std::size_t>(index));
  const QTextCursor& cell = difference.Mark.cursor;
  text_->setTextCursor(cell);
  BringInSight(cell);
  text_->setAccessibleDescription(difference.Note);
  const QRect place = PlaceOf(cell);
  QToolTip::showText(text_->viewport()->mapToGlobal(place.bottomLeft()), difference.Note,
                     text_->viewport(), place);
}

/// Behind each other, so that the mark of the cell that is looked at lies above the differences.
void ViewWindow::ShowMarks() {
  QList<QTextEdit::ExtraSelection> marks;
  for (const Difference& difference : differences_) marks << difference.Mark;
  if (mark_) marks << *mark_;
  text_->setExtraSelections(marks);
}

bool ViewWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == text_->viewport() && event->type() == QEvent::ToolTip) {
    ShowNoteAt(*static_cast<QHelpEvent*>(event));
    return true;
  }
  return ChildWindow::eventFilter(watched, event);
}

void ViewWindow::ShowNoteAt(const QHelpEvent& help) const {
  const auto found = std::ranges::find_if(differences_, [&](const Difference& difference) {
    return PlaceOf(difference.Mark.cursor).contains(help.pos());
  });
  if (found == differences_.end()) return QToolTip::hideText();
  QToolTip::showText(help.globalPos(), found->Note + '\n' + kDifferenceKeys, text_->viewport(),
                     PlaceOf(found->Mark.cursor));
}

std::optional<QTextCursor> ViewWindow::CellAt(const screen::TextPlace& place) const {
  const QTextBlock line = text_->document()->findBlockByNumber(place.Line);
  if (!line.isValid() || place.Column + place.Length >= line.length()) return std::nullopt;
  QTextCursor cell(line);
  cell.setPosition(line.position() + place.Column);
  cell.setPosition(cell.position() + place.Length, QTextCursor::KeepAnchor);
  return cell;
}

QRect ViewWindow::PlaceOf(const QTextCursor& cell) const {
  QTextCursor first(cell);
  first.setPosition(cell.anchor());
  return text_->cursorRect(first).united(text_->cursorRect(cell));
}

/// A line that is out of sight comes to the middle, so that its neighbours show too; one that is in
/// sight stays where it is.
void ViewWindow::BringInSight(const QTextCursor& cell) {
  const QRect place = PlaceOf(cell);
  const QRect sight = text_->viewport()->rect();
  QScrollBar& down = *text_->verticalScrollBar();
  QScrollBar& right = *text_->horizontalScrollBar();
  const bool at_edge = place.top() <= sight.top() + place.height() ||
                       place.bottom() >= sight.bottom() - place.height();
  if (at_edge) down.setValue(down.value() + place.center().y() - sight.center().y());
  if (place.left() < sight.left() || place.right() > sight.right()) {
    right.setValue(right.value() + place.center().x() - sight.center().x());
  }
}

}  // namespace fenwright::ui
