#include "ui/socket_drawing.h"

#include <algorithm>

#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include "core/insertion_guide.h"
#include "ui/controls.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

using screen::GuidePosition;

// The drawing is made on a canvas of this size. A contact of the socket is 0.1 inch from the next
// and kPitch units on the canvas; all outlines are to that scale.
constexpr QSizeF kCanvas(344, 266);
constexpr double kPitch = 10;
constexpr int kRows = 20;

constexpr double kSocketCentre = 78;
constexpr double kFirstRow = 44;
constexpr QRectF kSocketBody(kSocketCentre - 5 * kPitch, kFirstRow - 17, 10 * kPitch,
                             (kRows - 1) * kPitch + 34);

constexpr double kBadgeSize = 15;
constexpr double kKeyLeft = 146;
constexpr double kKeyTop = 6;
constexpr double kKeyWidth = 192;
constexpr double kKeyHeight = 47;
constexpr double kKeyStep = 52;

const QColor kSocketColour(0x23, 0x2A, 0x33);
const QColor kSocketEdge(0x8F, 0x9B, 0xAA);
const QColor kSlotColour(0x55, 0x60, 0x6D);
const QColor kMetal(0xD5, 0xDB, 0xE2);

/// One place for a package. Lengths are those of the package's own outline, in tenths of an inch.
struct Place {
  GuidePosition Position;
  char Letter;
  int Pins;
  int FirstRow;       ///< row of the socket that takes the package's pin 1, counted from 0
  double RowSpacing;  ///< between the two rows of pins
  double BodyWidth;
  double BodyLength;
  QPointF Badge;  ///< of the letter: tenths of an inch from the centre of the socket and its row 0
};

// The small packages lie between the two rows of the socket; its contacts are slots that reach
// from a row spacing of 0.3 inch to one of 0.6.
const std::array<Place, 5> kPlaces{{
    {.Position = GuidePosition::A,
     .Letter = 'A',
     .Pins = 8,
     .FirstRow = 0,
     .RowSpacing = 3,
     .BodyWidth = 2.5,
     .BodyLength = 3.7,
     .Badge = {0, 1.5}},
    {.Position = GuidePosition::B,
     .Letter = 'B',
     .Pins = 20,
     .FirstRow = 10,
     .RowSpacing = 3,
     .BodyWidth = 2.5,
     .BodyLength = 10.2,
     .Badge = {0, 16.5}},
    {.Position = GuidePosition::C,
     .Letter = 'C',
     .Pins = 20,
     .FirstRow = 0,
     .RowSpacing = 3,
     .BodyWidth = 2.5,
     .BodyLength = 10.2,
     .Badge = {0, 6}},
    {.Position = GuidePosition::D,
     .Letter = 'D',
     .Pins = 28,
     .FirstRow = 0,
     .RowSpacing = 3,
     .BodyWidth = 2.8,
     .BodyLength = 13.7,
     .Badge = {0, 12}},
    {.Position = GuidePosition::E,
     .Letter = 'E',
     .Pins = 40,
     .FirstRow = 0,
     .RowSpacing = 6,
     .BodyWidth = 5.4,
     .BodyLength = 20.5,
     .Badge = {1.9, 18}},
}};

QColor ColourOf(std::uint32_t value) {
  return {static_cast<int>(value & 0xFFU), static_cast<int>(value >> 8U & 0xFFU),
          static_cast<int>(value >> 16U & 0xFFU)};
}

/// The chips of a place in two lines, the second one for those beyond the first two.
std::array<QString, 2> ChipLines(const Place& place) {
  QStringList names;
  for (const std::string& name : core::ChipsAt(place.Position)) names << ToQString(name);
  const QStringList further = names.mid(2);
  return {names.mid(0, 2).join(", ") + (further.isEmpty() ? "" : ","), further.join(", ")};
}

QString PinsOf(const Place& place) { return QString("%1ピン").arg(place.Pins); }

QRectF BodyOf(const Place& place) {
  const double middle = kFirstRow + (place.FirstRow + (place.Pins - 2) / 4.0) * kPitch;
  QRectF body(0, 0, place.BodyWidth * kPitch, place.BodyLength * kPitch);
  body.moveCenter({kSocketCentre, middle});
  return body;
}

QFont CanvasFont(const QPainter& painter, int pixels, bool bold) {
  QFont font = painter.font();
  font.setPixelSize(pixels);
  font.setBold(bold);
  return font;
}

/// The outline of a package: a rectangle with a half round notch at the end of pin 1.
QPainterPath Outline(const QRectF& body) {
  constexpr double kNotch = 4;
  QPainterPath whole;
  whole.addRoundedRect(body, 1.5, 1.5);
  QPainterPath notch;
  notch.addEllipse(QPointF(body.center().x(), body.top()), kNotch, kNotch);
  return whole.subtracted(notch);
}

void DrawLever(QPainter& painter) {
  // It stands up at the end of pin 1: the socket is open.
  const QPointF pivot(kSocketBody.left() + 9, kSocketBody.top() + 8);
  const QPointF end(pivot.x() - 3, 10);
  painter.setPen(QPen(kSocketEdge, 5, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(pivot, end);
  painter.setPen(QPen(kMetal, 3, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(pivot, end);
  painter.setPen(QPen(kSocketEdge, 1));
  painter.setBrush(kMetal);
  painter.drawEllipse(pivot, 4.5, 4.5);
  painter.drawEllipse(end, 5, 5);
}

void DrawSocketBody(QPainter& painter) {
  QPainterPath body;
  body.addRoundedRect(kSocketBody, 5, 5);
  QPainterPath notch;
  notch.addEllipse(QPointF(kSocketCentre, kSocketBody.top()), 7, 7);
  painter.setPen(QPen(kSocketEdge, 1.4));
  painter.setBrush(kSocketColour);
  painter.drawPath(body.subtracted(notch));
  painter.setPen(Qt::NoPen);
  painter.setBrush(kSlotColour);
  for (int row = 0; row < kRows; ++row) {
    const double top = kFirstRow + row * kPitch - 2;
    painter.drawRoundedRect(QRectF(kSocketCentre - 3.3 * kPitch, top, 2.1 * kPitch, 4), 1, 1);
    painter.drawRoundedRect(QRectF(kSocketCentre + 1.2 * kPitch, top, 2.1 * kPitch, 4), 1, 1);
  }
}

void DrawContactNumbers(QPainter& painter, const QColor& text) {
  painter.setFont(CanvasFont(painter, 11, false));
  painter.setPen(text);
  const double last_row = kFirstRow + (kRows - 1) * kPitch;
  const auto number = [&painter](double left, double row, Qt::Alignment side, const char* digits) {
    painter.drawText(QRectF(left, row - 8, 20, 16), static_cast<int>(side | Qt::AlignVCenter),
                     digits);
  };
  number(kSocketBody.left() - 24, kFirstRow + 10 * kPitch, Qt::AlignRight, "11");
  number(kSocketBody.left() - 24, last_row, Qt::AlignRight, "20");
  number(kSocketBody.right() + 4, last_row, Qt::AlignLeft, "21");
  number(kSocketBody.right() + 4, kFirstRow, Qt::AlignLeft, "40");

  painter.setFont(CanvasFont(painter, 13, true));
  number(kSocketBody.left() - 30, kFirstRow, Qt::AlignRight, "1");
  QPainterPath arrow;
  arrow.moveTo(kSocketBody.left() - 1, kFirstRow);
  arrow.lineTo(kSocketBody.left() - 8, kFirstRow - 4.5);
  arrow.lineTo(kSocketBody.left() - 8, kFirstRow + 4.5);
  arrow.closeSubpath();
  painter.fillPath(arrow, text);

  painter.setFont(CanvasFont(painter, 11, false));
  painter.drawText(QRectF(kSocketBody.left() + 16, 3, 60, 16),
                   static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter), "レバー");
}

void DrawLetter(QPainter& painter, const QPointF& centre, char letter, int pixels) {
  painter.setFont(CanvasFont(painter, pixels, true));
  painter.setPen(Qt::white);
  painter.drawText(QRectF(centre.x() - pixels, centre.y() - pixels, 2 * pixels, 2 * pixels),
                   Qt::AlignCenter, QChar(letter));
}

void DrawBadge(QPainter& painter, const QPointF& centre, char letter, const QColor& colour) {
  painter.setPen(QPen(Qt::white, 1.2));
  painter.setBrush(colour);
  painter.drawEllipse(centre, kBadgeSize / 2, kBadgeSize / 2);
  constexpr int kLetterPixels = 11;
  DrawLetter(painter, centre, letter, kLetterPixels);
}

/// Where a place has its letter: no other has its own there.
QPointF BadgeOf(const Place& place) {
  return {kSocketCentre + place.Badge.x() * kPitch, kFirstRow + place.Badge.y() * kPitch};
}

void DrawIdlePackage(QPainter& painter, const Place& place) {
  const QColor grey = ColourOf(SocketDrawing::kIdleColour);
  QColor shade = grey;
  shade.setAlpha(60);
  painter.setPen(QPen(grey, 2));
  painter.setBrush(shade);
  painter.drawPath(Outline(BodyOf(place)));
}

void DrawIdleBadge(QPainter& painter, const Place& place) {
  DrawBadge(painter, BadgeOf(place), place.Letter, ColourOf(SocketDrawing::kIdleColour));
}

void DrawPins(QPainter& painter, const Place& place) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(kMetal);
  const double half = place.RowSpacing * kPitch / 2 + 2;
  for (int row = 0; row < place.Pins / 2; ++row) {
    const double top = kFirstRow + (place.FirstRow + row) * kPitch - 2.5;
    painter.drawRect(QRectF(kSocketCentre - half, top, 2 * half, 5));
  }
}

void DrawHighlightedPackage(QPainter& painter, const Place& place) {
  const QRectF body = BodyOf(place);
  DrawPins(painter, place);
  painter.setPen(QPen(Qt::white, 2.6));
  painter.setBrush(ColourOf(SocketDrawing::kHighlightColour));
  painter.drawPath(Outline(body));
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  painter.drawEllipse(body.topLeft() + QPointF(6, 7), 2, 2);
}

/// The part of an idle package that lies under the highlighted one, as a fine line on it.
void DrawOutlineWithin(QPainter& painter, const Place& highlighted, const Place& idle) {
  constexpr double kInset = 3;
  const auto inside = [](const Place& place) {
    return BodyOf(place).adjusted(kInset, kInset, -kInset, -kInset);
  };
  painter.save();
  painter.setClipRect(inside(highlighted));
  constexpr int kSheer = 140;
  painter.setPen(QPen(QColor(255, 255, 255, kSheer), 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(inside(idle), 1.5, 1.5);
  painter.restore();
}

void DrawKeyRow(QPainter& painter, const Place& place, const QRectF& row, bool highlighted,
                const QColor& text) {
  const QColor colour =
      ColourOf(highlighted ? SocketDrawing::kHighlightColour : SocketDrawing::kIdleColour);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(colour, highlighted ? 3.5 : 1));
  painter.drawRoundedRect(row, 4, 4);
  DrawBadge(painter, row.topLeft() + QPointF(14, 12), place.Letter, colour);

  const QRectF line(row.left() + 28, row.top() + 3, row.width() - 34, 16);
  const auto write = [&painter, &line](double down, Qt::Alignment side, const QString& words) {
    painter.drawText(line.translated(0, down), static_cast<int>(side | Qt::AlignVCenter), words);
  };
  painter.setPen(text);
  painter.setFont(CanvasFont(painter, 11, true));
  const QString here = highlighted ? "◀ ここ" : "";
  write(0, Qt::AlignLeft, PinsOf(place) + QString(" (1番ピン → %1)").arg(place.FirstRow + 1));
  write(0, Qt::AlignRight, here);
  painter.setFont(CanvasFont(painter, 11, highlighted));
  const auto [first_line, second_line] = ChipLines(place);
  write(14, Qt::AlignLeft, first_line);
  write(27, Qt::AlignLeft, second_line);
}

}  // namespace

SocketDrawing::SocketDrawing(QWidget* parent) : QWidget(parent) {
  Name(this, "picSocket", "ソケットの図");
  setFocusPolicy(Qt::StrongFocus);
  DescribeHighlight();
}

void SocketDrawing::SetHighlighted(GuidePosition position, bool highlighted) {
  highlighted_.at(static_cast<std::size_t>(position)) = highlighted;
  DescribeHighlight();
  update();
}

bool SocketDrawing::IsHighlighted(GuidePosition position) const {
  return highlighted_.at(static_cast<std::size_t>(position));
}

QSize SocketDrawing::sizeHint() const { return kCanvas.toSize(); }

QSize SocketDrawing::minimumSizeHint() const { return kCanvas.toSize() / 2; }

void SocketDrawing::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
  painter.setTransform(Scaling(), true);
  DrawLever(painter);
  DrawSocketBody(painter);
  DrawContactNumbers(painter, palette().windowText().color());
  DrawPackages(painter);
  DrawKey(painter);
  if (hasFocus()) DrawFocusFrame();
}

void SocketDrawing::DrawFocusFrame() {
  QStyleOptionFocusRect frame;
  frame.initFrom(this);
  frame.backgroundColor = palette().window().color();
  QPainter painter(this);
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &frame, &painter, this);
}

QTransform SocketDrawing::Scaling() const {
  const double scale = std::min(width() / kCanvas.width(), height() / kCanvas.height());
  QTransform transform;
  transform.translate((width() - scale * kCanvas.width()) / 2,
                      (height() - scale * kCanvas.height()) / 2);
  transform.scale(scale, scale);
  return transform;
}

void SocketDrawing::DrawPackages(QPainter& painter) const {
  // From the largest to the smallest, so that each outline shows.
  std::for_each(kPlaces.rbegin(), kPlaces.rend(), [&](const Place& place) {
    if (!IsHighlighted(place.Position)) DrawIdlePackage(painter, place);
  });
  for (const Place& place : kPlaces) {
    if (!IsHighlighted(place.Position)) continue;
    DrawHighlightedPackage(painter, place);
    for (const Place& other : kPlaces) {
      if (!IsHighlighted(other.Position)) DrawOutlineWithin(painter, place, other);
    }
  }
  constexpr int kHighlightedLetterPixels = 20;
  for (const Place& place : kPlaces) {
    if (IsHighlighted(place.Position)) {
      DrawLetter(painter, BadgeOf(place), place.Letter, kHighlightedLetterPixels);
    } else {
      DrawIdleBadge(painter, place);
    }
  }
}

void SocketDrawing::DrawKey(QPainter& painter) const {
  QRectF row(kKeyLeft, kKeyTop, kKeyWidth, kKeyHeight);
  for (const Place& place : kPlaces) {
    DrawKeyRow(painter, place, row, IsHighlighted(place.Position), palette().windowText().color());
    row.translate(0, kKeyStep);
  }
}

void SocketDrawing::DescribeHighlight() {
  QString description = "デバイスの挿入位置はありません。";
  for (const Place& place : kPlaces) {
    if (!IsHighlighted(place.Position)) continue;
    description =
        QString("位置 %1 : %2のパッケージの1番ピンを、ソケットの%3番に合わせて挿入します。")
            .arg(QChar(place.Letter))
            .arg(PinsOf(place))
            .arg(place.FirstRow + 1);
  }
  setAccessibleDescription(description);
}

}  // namespace fenwright::ui
