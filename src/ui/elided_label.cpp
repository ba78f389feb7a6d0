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

void ElidedLabel::SetLead(QWidget* lead) {
  lead_ = lead;
  lead->setParent(this);
  lead->installEventFilter(this);
}

QRect ElidedLabel::Area() const {
  return contentsRect().marginsRemoved({margin(), margin(), margin(), margin()});
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
  QLabel::resizeEvent(event);
  if (!lead_) return;
  const QRect area = Area();
  lead_->move(area.left(), area.center().y() - (lead_->height() - 1) / 2);
}

bool ElidedLabel::eventFilter(QObject* watched, QEvent* event) {
  const bool shown_or_hidden = event->type() == QEvent::Show || event->type() == QEvent::Hide;
  if (watched == lead_ && shown_or_hidden) update();
  return QLabel::eventFilter(watched, event);
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
  constexpr int kGap = 3;
  QRect area = Area();
  if (lead_ && lead_->isVisibleTo(this)) area.setLeft(area.left() + lead_->width() + kGap);
  style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(),
                        fontMetrics().elidedText(line, Qt::ElideRight, area.width()),
                        foregroundRole());
}

}  // namespace fenwright::ui
