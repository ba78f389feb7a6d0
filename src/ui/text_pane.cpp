#include "ui/text_pane.h"

#include <algorithm>

#include <QResizeEvent>
#include <QScrollBar>

#include "ui/wrapped_label.h"

namespace fenwright::ui {

TextPane::TextPane(WrappedLabel* label, int least_lines, int reserved_lines)
    : label_(label), least_lines_(least_lines), reserved_lines_(reserved_lines) {
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setWidgetResizable(true);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  setFocusPolicy(Qt::NoFocus);
  // The ground of what it stands on, not of a list.
  viewport()->setAutoFillBackground(false);
  setWidget(label_);
  label_->setAutoFillBackground(false);
  hide();
}

void TextPane::SetText(const QString& text) {
  if (text != label_->text()) verticalScrollBar()->setValue(0);
  label_->SetText(text);
  label_->setVisible(!text.isEmpty());
  setVisible(!text.isEmpty());
  updateGeometry();
  LetTheKeyboardScroll();
}

QSize TextPane::sizeHint() const { return {width(), WantedHeight()}; }

QSize TextPane::minimumSizeHint() const {
  return {0, std::min(WantedHeight(), least_lines_ * label_->fontMetrics().height())};
}

/// At the width without a scroll bar, so that it does not depend on whether there is one.
int TextPane::WantedHeight() const {
  return std::max(label_->heightForWidth(width()),
                  reserved_lines_ * label_->fontMetrics().height());
}

void TextPane::resizeEvent(QResizeEvent* event) {
  QScrollArea::resizeEvent(event);
  if (event->oldSize().width() != event->size().width()) updateGeometry();
  LetTheKeyboardScroll();
}

void TextPane::LetTheKeyboardScroll() {
  setFocusPolicy(height() < WantedHeight() ? Qt::StrongFocus : Qt::NoFocus);
}

}  // namespace fenwright::ui
