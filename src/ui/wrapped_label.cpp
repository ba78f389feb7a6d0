#include "ui/wrapped_label.h"

#include <cmath>

#include <QPaintEvent>
#include <QPainter>
#include <QTextLayout>

namespace fenwright::ui {
namespace {

QString Lines(QString text) {
  return text.replace("\r\n", "\n").replace('\n', QChar(QChar::LineSeparator));
}

/// Breaks the layout's text into lines of `width`; returns the height of them all.
double LayOut(QTextLayout& layout, double width, double line_height) {
  QTextOption option;
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  layout.setTextOption(option);
  double top = 0;
  layout.beginLayout();
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLineWidth(width);
    line.setPosition({0, top});
    top += line_height;
  }
  layout.endLayout();
  return top;
}

}  // namespace

WrappedLabel::WrappedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setAlignment(Qt::AlignLeft | Qt::AlignTop);
  // Without it QLabel takes the height-for-width flag away at every change of its text.
  setWordWrap(true);
  QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Minimum);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
}

void WrappedLabel::SetText(const QString& text) {
  if (text == this->text()) return;
  setText(text);
  setAccessibleDescription(text);
  updateGeometry();
}

QSize WrappedLabel::sizeHint() const { return {width(), heightForWidth(width())}; }

QSize WrappedLabel::minimumSizeHint() const {
  return {fontMetrics().averageCharWidth(), fontMetrics().height()};
}

int WrappedLabel::heightForWidth(int width) const {
  if (text().isEmpty()) return 0;
  const QMargins margins = contentsMargins();
  QTextLayout layout(Lines(text()), font());
  const double height =
      LayOut(layout, width - margins.left() - margins.right(), fontMetrics().height());
  return static_cast<int>(std::ceil(height)) + margins.top() + margins.bottom();
}

void WrappedLabel::paintEvent(QPaintEvent* event) {
  // The frame alone: the text is drawn here. NOLINTNEXTLINE(bugprone-parent-virtual-call)
  QFrame::paintEvent(event);
  QPainter painter(this);
  painter.setPen(
      palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
  QTextLayout layout(Lines(text()), font());
  const double height = LayOut(layout, contentsRect().width(), fontMetrics().height());
  const bool centred = alignment().testFlag(Qt::AlignVCenter);
  const double top = centred ? std::max(0.0, (contentsRect().height() - height) / 2) : 0.0;
  layout.draw(&painter, QPointF(contentsRect().left(), contentsRect().top() + top));
}

}  // namespace fenwright::ui
