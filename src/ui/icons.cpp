#include "ui/icons.h"

#include <QIconEngine>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace fenwright::ui {
namespace {

/// Side of the square in which the icons are drawn.
constexpr double kIconCanvas = 32;

using Drawing = void (*)(QPainter&);

class DrawnIcon final : public QIconEngine {
 public:
  explicit DrawnIcon(Drawing drawing) : drawing_(drawing) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (mode == QIcon::Disabled) painter->setOpacity(painter->opacity() * 0.35);
    painter->translate(rect.topLeft());
    painter->scale(rect.width() / kIconCanvas, rect.height() / kIconCanvas);
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
  QLinearGradient gradient(0, 0, 0, kIconCanvas);
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

void DrawSave(QPainter& painter) {
  QPainterPath body;
  body.moveTo(4, 6);
  body.quadTo(4, 4, 6, 4);
  body.lineTo(23, 4);
  body.lineTo(28, 9);
  body.lineTo(28, 26);
  body.quadTo(28, 28, 26, 28);
  body.lineTo(6, 28);
  body.quadTo(4, 28, 4, 26);
  body.closeSubpath();
  painter.setPen(QPen(QColor(0x2A, 0x46, 0x7E), 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Shade(QColor(0x6F, 0x97, 0xDD), QColor(0x35, 0x5F, 0xAE)));
  painter.drawPath(body);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0xDC, 0xE2, 0xEA));
  painter.drawRect(QRectF(10, 4.6, 11, 7.4));
  painter.setBrush(QColor(0x35, 0x5F, 0xAE));
  painter.drawRect(QRectF(16.6, 5.8, 2.8, 5));
  painter.setBrush(Qt::white);
  painter.drawRoundedRect(QRectF(8, 16, 16, 11.4), 1, 1);
  painter.setBrush(QColor(0xA9, 0xB6, 0xC8));
  painter.drawRoundedRect(QRectF(10.5, 18.8, 11, 1.6), 0.8, 0.8);
  painter.drawRoundedRect(QRectF(10.5, 22.4, 8, 1.6), 0.8, 0.8);
}

void DrawReload(QPainter& painter) {
  // Two thirds of a circle with an arrow head at its end.
  const QRectF circle(5.5, 5.5, 21, 21);
  QPainterPath arc;
  arc.arcMoveTo(circle, 20);
  arc.arcTo(circle, 20, 290);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Shade(QColor(0x2E, 0xA8, 0xC9), QColor(0x14, 0x75, 0x93)), 4.4, Qt::SolidLine,
                      Qt::FlatCap, Qt::RoundJoin));
  painter.drawPath(arc);
  QPainterPath head;
  head.moveTo(28.4, 10.2);
  head.lineTo(28.4, 20.6);
  head.lineTo(18.2, 16.4);
  head.closeSubpath();
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0x1F, 0x8D, 0xAE));
  painter.drawPath(head.translated(0, -5.6));
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

void DrawRead(QPainter& painter) {
  DrawChipBody(painter, QRectF(3, 15, 26, 12));
  QPainterPath arrow;
  arrow.moveTo(13, 21);
  arrow.lineTo(19, 21);
  arrow.lineTo(19, 10.5);
  arrow.lineTo(24, 10.5);
  arrow.lineTo(16, 1.5);
  arrow.lineTo(8, 10.5);
  arrow.lineTo(13, 10.5);
  arrow.closeSubpath();
  painter.setPen(QPen(Qt::white, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Shade(QColor(0x5A, 0xA6, 0xF2), QColor(0x1C, 0x62, 0xB8)));
  painter.drawPath(arrow);
}

void DrawVerify(QPainter& painter) {
  DrawChipBody(painter, QRectF(3, 15, 26, 12));
  QPainterPath tick;
  tick.moveTo(8, 11.5);
  tick.lineTo(14, 17.5);
  tick.lineTo(25.5, 5);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::white, 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPath(tick);
  painter.setPen(QPen(Shade(QColor(0xF5, 0xA6, 0x23), QColor(0xD9, 0x7B, 0x06)), 4.6, Qt::SolidLine,
                      Qt::RoundCap, Qt::RoundJoin));
  painter.drawPath(tick);
}

void DrawErase(QPainter& painter) {
  DrawChipBody(painter, QRectF(3, 15, 26, 12));
  painter.save();
  painter.translate(17, 10.5);
  painter.rotate(-35);
  const QRectF eraser(-11, -5.5, 22, 11);
  QPainterPath whole;
  whole.addRoundedRect(eraser, 2.2, 2.2);
  QPainterPath tip;
  tip.addRect(QRectF(-11, -5.5, 8.5, 11));
  painter.setPen(QPen(Qt::white, 1.2));
  painter.setBrush(QColor(0xD6, 0x4A, 0x55));
  painter.drawPath(whole);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0xF6, 0xD8, 0xD4));
  painter.drawPath(whole.intersected(tip));
  painter.restore();
}

void DrawPort(QPainter& painter) {
  // A nine-pin connector: five pins above four.
  QPainterPath shell;
  shell.moveTo(4.5, 8);
  shell.lineTo(27.5, 8);
  shell.quadTo(30.5, 8, 29.8, 11);
  shell.lineTo(27.6, 21.5);
  shell.quadTo(27, 24, 24.5, 24);
  shell.lineTo(7.5, 24);
  shell.quadTo(5, 24, 4.4, 21.5);
  shell.lineTo(2.2, 11);
  shell.quadTo(1.5, 8, 4.5, 8);
  shell.closeSubpath();
  painter.setPen(QPen(QColor(0x5D, 0x68, 0x76), 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Shade(QColor(0xE9, 0xED, 0xF2), QColor(0xB4, 0xBF, 0xCC)));
  painter.drawPath(shell);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0x2A, 0x46, 0x7E));
  constexpr double kStep = 4.6;
  for (int pin = 0; pin < 5; ++pin) painter.drawEllipse(QPointF(6.8 + pin * kStep, 13.2), 1.6, 1.6);
  for (int pin = 0; pin < 4; ++pin) painter.drawEllipse(QPointF(9.1 + pin * kStep, 18.8), 1.6, 1.6);
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

void DrawExclamationMark(QPainter& painter, double top, double height) {
  const double middle = kIconCanvas / 2;
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  painter.drawRoundedRect(QRectF(middle - 1.9, top, 3.8, height - 6.2), 1.6, 1.6);
  painter.drawEllipse(QPointF(middle, top + height - 2.2), 2.2, 2.2);
}

/// A disc with a tick.
void DrawSuccess(QPainter& painter) {
  painter.setPen(QPen(QColor(0x0F, 0x6B, 0x3A), 1));
  painter.setBrush(Shade(QColor(0x35, 0xB3, 0x6C), QColor(0x13, 0x82, 0x47)));
  painter.drawEllipse(QRectF(2.5, 2.5, 27, 27));
  QPainterPath tick;
  tick.moveTo(9, 16.6);
  tick.lineTo(14, 21.6);
  tick.lineTo(23.2, 10.8);
  painter.setPen(QPen(Qt::white, 3.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(tick);
}

/// A triangle with an exclamation mark.
void DrawAttention(QPainter& painter) {
  QPainterPath triangle;
  triangle.moveTo(16, 3.5);
  triangle.lineTo(30, 28);
  triangle.lineTo(2, 28);
  triangle.closeSubpath();
  painter.setPen(QPen(QColor(0xB5, 0x6A, 0x00), 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Shade(QColor(0xF8, 0xB3, 0x2B), QColor(0xDB, 0x7F, 0x05)));
  painter.drawPath(triangle);
  DrawExclamationMark(painter, 10.5, 15.5);
}

/// A square with a cross.
void DrawFailure(QPainter& painter) {
  painter.setPen(QPen(QColor(0x9B, 0x1C, 0x1C), 1));
  painter.setBrush(Shade(QColor(0xE4, 0x56, 0x56), QColor(0xC2, 0x26, 0x26)));
  painter.drawRoundedRect(QRectF(3, 3, 26, 26), 5, 5);
  painter.setPen(QPen(Qt::white, 3.8, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(10.6, 10.6), QPointF(21.4, 21.4));
  painter.drawLine(QPointF(21.4, 10.6), QPointF(10.6, 21.4));
}

/// An octagon with a second one inside and an exclamation mark.
void DrawDanger(QPainter& painter) {
  const auto octagon = [](double inset) {
    const double low = inset;
    const double high = kIconCanvas - inset;
    const double cut = (high - low) * 0.293;
    return QPolygonF({{low + cut, low},
                      {high - cut, low},
                      {high, low + cut},
                      {high, high - cut},
                      {high - cut, high},
                      {low + cut, high},
                      {low, high - cut},
                      {low, low + cut}});
  };
  painter.setPen(QPen(QColor(0x6E, 0x0A, 0x1E), 1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Shade(QColor(0xC2, 0x18, 0x3C), QColor(0x8A, 0x0C, 0x28)));
  painter.drawPolygon(octagon(1.5));
  painter.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPolygon(octagon(4));
  DrawExclamationMark(painter, 7.6, 17);
}

}  // namespace

QIcon OutcomeIcon(screen::Outcome outcome) {
  switch (outcome) {
    case screen::Outcome::Success:
      return QIcon(new DrawnIcon(DrawSuccess));
    case screen::Outcome::Attention:
      return QIcon(new DrawnIcon(DrawAttention));
    case screen::Outcome::Failure:
      return QIcon(new DrawnIcon(DrawFailure));
    case screen::Outcome::Danger:
      return QIcon(new DrawnIcon(DrawDanger));
    case screen::Outcome::None:
      break;
  }
  return {};
}

QIcon OpenIcon() { return QIcon(new DrawnIcon(DrawOpen)); }
QIcon SaveIcon() { return QIcon(new DrawnIcon(DrawSave)); }
QIcon ReloadIcon() { return QIcon(new DrawnIcon(DrawReload)); }
QIcon ProgramIcon() { return QIcon(new DrawnIcon(DrawProgram)); }
QIcon ReadIcon() { return QIcon(new DrawnIcon(DrawRead)); }
QIcon VerifyIcon() { return QIcon(new DrawnIcon(DrawVerify)); }
QIcon EraseIcon() { return QIcon(new DrawnIcon(DrawErase)); }
QIcon InformationIcon() { return QIcon(new DrawnIcon(DrawInformation)); }
QIcon QuestionIcon() { return QIcon(new DrawnIcon(DrawQuestion)); }
QIcon PortIcon() { return QIcon(new DrawnIcon(DrawPort)); }
QIcon ChipIcon() { return QIcon(new DrawnIcon(DrawChip)); }

}  // namespace fenwright::ui
