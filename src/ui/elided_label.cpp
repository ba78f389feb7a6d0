#include "ui/elided_label.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>

namespace fenwright::ui {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) { setTextFormat(Qt::PlainText); }

void ElidedLabel::SetText(const QString& text) {
  if (text == this->text()) return;
  setText(text);
  setToolTip(text.toHtmlEscaped());
  setAccessibleDescription(text);
}

QSize ElidedLabel::minimumSizeHint() const {
  return {fontMetrics().averageCharWidth(), QLabel::minimumSizeHint().height()};
}

void ElidedLabel::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) {
    emit Clicked();
  }
}

void ElidedLabel::paintEvent(QPaintEvent* event) {
  // The frame alone: the text is drawn here. NOLINTNEXTLINE(bugprone-parent-virtual-call)
  QFrame::paintEvent(event);
  QPainter painter(this);
  // Line breaks cannot be shown; the blanks within a text are its own.
  const QString line = text().replace("\r\n", " ").trimmed();
  const QRect area = contentsRect().marginsRemoved({margin(), margin(), margin(), margin()});
  style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(),
                        fontMetrics().elidedText(line, Qt::ElideRight, area.width()),
                        foregroundRole());
}

}  // namespace fenwright::ui
