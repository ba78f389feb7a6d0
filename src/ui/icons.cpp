#include "ui/icons.h"

#include <QIconEngine>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace fenwright::ui {
namespace {

/// Side of the square in which the icons are drawn.
constexpr double kCanvas = 32;

using Drawing = void (*)(QPainter&);

class DrawnIcon final : public QIconEngine {
 public:
  explicit DrawnIcon(Drawing drawing) : drawing_(drawing) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (mode == QIcon::Disabled) painter->setOpacity(painter->opacity() * 0.35);
    painter->translate(rect.topLeft());
    painter->scale(rect.width() / kCanvas, rect.height() / kCanvas);
    drawing_(*painter);
    painter->restore();
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(0, 0), size), mode, state);
    return pixmap;
  }

  QIconEngine* clone() const override { return new DrawnIcon(*this); }

 private:
  Drawing drawing_;
};

QLinearGradient Shade(const QColor& top, const QColor& bottom) {
  QLinearGradient gradient(0, 0, 0, kCanvas);
  gradient.setColorAt(0, top);
  gradient.setColorAt(1, bottom);
  return gradient;
}

void DrawOpen(QPainter& painter) {
  QPainterPath back;
  back.moveTo(3, 26);
  back.lineTo(3, 8);
  back.quadTo(3, 6, 5, 6);
  back.lineTo(11.5, 6);
  back.lineTo(14.5, 9);
  back.lineTo(25, 9);
  back.quadTo(27, 9, 27, 11);
  back.lineTo(27, 26);
  back.closeSubpath();
  painter.setPen(QPen(QColor(0xA8, 0x72, 0x12), 1.2));
  painter.setBrush(QColor(0xD9, 0x9A, 0x2B));
  painter.drawPath(back);

  painter.setPen(QPen(QColor(0x8A, 0x95, 0xA3), 1));
  painter.setBrush(Qt::white);
  painter.drawRect(QRectF(7, 11, 17, 10));

  QPainterPath front;
  front.moveTo(3, 26);
  front.lineTo(7.5, 15);
  front.lineTo(30, 15);
  front.lineTo(26.5, 26);
  front.closeSubpath();
  painter.setPen(QPen(QColor(0xA8, 0x72, 0x12), 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Shade(QColor(0xFF, 0xDD, 0x83), QColor(0xF0, 0xB4, 0x3C)));
  painter.drawPath(front);
}

void DrawChipBody(QPainter& painter, const QRectF& body) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0x9A, 0xA4, 0xB0));
  constexpr int kPins = 4;
  const double step = body.width() / kPins;
  for (int pin = 0; pin < kPins; ++pin) {
    const double left = body.left() + step * (pin + 0.5) - 1.2;
    painter.drawRect(QRectF(left, body.top() - 4, 2.4, 5));
    painter.drawRect(QRectF(left, body.bottom() - 1, 2.4, 5));
  }
  painter.setPen(QPen(QColor(0x8F, 0x9B, 0xAA), 0.8));
  painter.setBrush(Shade(QColor(0x4C, 0x57, 0x66), QColor(0x26, 0x2D, 0x38)));
  painter.drawRoundedRect(body, 1.8, 1.8);
}

void DrawChip(QPainter& painter) {
  DrawChipBody(painter, QRectF(3, 8, 26, 16));
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0xC9, 0xD2, 0xDC));
  painter.drawEllipse(QRectF(6, 18, 3.2, 3.2));
  painter.drawRoundedRect(QRectF(11, 13, 13, 1.8), 0.9, 0.9);
  painter.drawRoundedRect(QRectF(11, 16.6, 9, 1.8), 0.9, 0.9);
}

void DrawProgram(QPainter& painter) {
  DrawChipBody(painter, QRectF(3, 15, 26, 12));
  QPainterPath arrow;
  arrow.moveTo(13, 1.5);
  arrow.lineTo(19, 1.5);
  arrow.lineTo(19, 12);
  arrow.lineTo(24, 12);
  arrow.lineTo(16, 21);
  arrow.lineTo(8, 12);
  arrow.lineTo(13, 12);
  arrow.closeSubpath();
  painter.setPen(QPen(Qt::white, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Shade(QColor(0x3F, 0xBF, 0x78), QColor(0x14, 0x84, 0x48)));
  painter.drawPath(arrow);
}

void DrawDisc(QPainter& painter) {
  painter.setPen(QPen(QColor(0x1B, 0x5E, 0xA8), 1));
  painter.setBrush(Shade(QColor(0x4E, 0x9F, 0xEE), QColor(0x1F, 0x6F, 0xC4)));
  painter.drawEllipse(QRectF(3, 3, 26, 26));
}

void DrawInformation(QPainter& painter) {
  DrawDisc(painter);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  painter.drawEllipse(QRectF(14, 7.6, 4, 4));
  painter.drawRoundedRect(QRectF(14.2, 13.6, 3.6, 11), 1.2, 1.2);
}

void DrawQuestion(QPainter& painter) {
  DrawDisc(painter);
  QPainterPath hook;
  hook.moveTo(11.8, 12.6);
  hook.cubicTo(11.8, 6.8, 20.6, 6.8, 20.6, 12.2);
  hook.cubicTo(20.6, 15.4, 16.2, 15.6, 16.2, 19.2);
  painter.setPen(QPen(Qt::white, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(hook);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  painter.drawEllipse(QRectF(14.2, 21.4, 4, 4));
}

}  // namespace

QIcon OpenIcon() { return QIcon(new DrawnIcon(DrawOpen)); }
QIcon ProgramIcon() { return QIcon(new DrawnIcon(DrawProgram)); }
QIcon InformationIcon() { return QIcon(new DrawnIcon(DrawInformation)); }
QIcon QuestionIcon() { return QIcon(new DrawnIcon(DrawQuestion)); }
QIcon ChipIcon() { return QIcon(new DrawnIcon(DrawChip)); }

}  // namespace fenwright::ui
