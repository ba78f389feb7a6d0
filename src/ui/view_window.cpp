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
  text_->setPlainText(text);
  // Laid out to its end now, not when the event loop comes to it: else there is no place yet to go
  // back to.
  const QTextDocument& document = *text_->document();
  document.documentLayout()->blockBoundingRect(document.lastBlock());
  text_->verticalScrollBar()->setValue(down);
  text_->horizontalScrollBar()->setValue(right);
}

}  // namespace fenwright::ui
