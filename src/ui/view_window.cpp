#include "ui/view_window.h"

#include <QAbstractTextDocumentLayout>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextEdit>

#include "ui/controls.h"

namespace fenwright::ui {
namespace {

constexpr double kTextMargin = 2;

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
  text_->document()->setDocumentMargin(kTextMargin);
  // The control may shrink to nothing together with its window.
  text_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
  setWidget(text_);
}

void ViewWindow::SetContent(const QString& text) {
  const int down = text_->verticalScrollBar()->value();
  const int right = text_->horizontalScrollBar()->value();
  ClearMark();
  text_->setPlainText(text);
  // Laid out to its end now, not when the event loop comes to it: else there is no place yet to go
  // back to.
  const QTextDocument& document = *text_->document();
  document.documentLayout()->blockBoundingRect(document.lastBlock());
  text_->verticalScrollBar()->setValue(down);
  text_->horizontalScrollBar()->setValue(right);
}

void ViewWindow::Mark(const screen::TextPlace& place) {
  const QTextBlock line = text_->document()->findBlockByNumber(place.Line);
  if (!line.isValid() || place.Column + place.Length >= line.length()) return;
  QTextCursor cell(line);
  cell.setPosition(line.position() + place.Column);
  text_->setTextCursor(cell);
  cell.setPosition(cell.position() + place.Length, QTextCursor::KeepAnchor);
  QTextEdit::ExtraSelection mark;
  mark.cursor = cell;
  mark.format.setBackground(palette().brush(QPalette::Active, QPalette::Highlight));
  mark.format.setForeground(palette().brush(QPalette::Active, QPalette::HighlightedText));
  text_->setExtraSelections({mark});
  BringInSight(cell);
}

void ViewWindow::ClearMark() { text_->setExtraSelections({}); }

/// A line that is out of sight comes to the middle, so that its neighbours show too; one that is in
/// sight stays where it is.
void ViewWindow::BringInSight(const QTextCursor& cell) {
  QTextCursor first(cell);
  first.setPosition(cell.anchor());
  const QRect place = text_->cursorRect(first).united(text_->cursorRect(cell));
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
