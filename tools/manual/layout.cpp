#include "manual/layout.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <utility>

#include <QAbstractTextDocumentLayout>
#include <QFontDatabase>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace fenwright::manual {
namespace {

constexpr double kMillimetresPerInch = 25.4;

constexpr double kTextPoints = 9.5;
constexpr double kTablePoints = 8.5;
constexpr double kCodePoints = 8;
constexpr double kCaptionPoints = 8.5;
constexpr double kTextLineHeight = 122;
constexpr double kTableLineHeight = 108;

// Millimetres.
constexpr double kParagraphSpace = 2.4;
constexpr double kItemSpace = 1.2;
constexpr double kItemIndent = 6.5;
constexpr double kBoxPadding = 2.2;
constexpr double kCellPadding = 1.3;
constexpr double kHairline = 0.12;
constexpr double kNoteBar = 1.0;
constexpr double kCaptionSpace = 1.5;

/// Screen pictures are taken at twice the usual scale and shown a little smaller than on a screen.
constexpr double kPicturePixelsPerInch = 96 * 2 / 0.8;

const QColor kAccent(0x1F, 0x4E, 0x79);
const QColor kLine(0xA0, 0xA8, 0xB0);
const QColor kHeaderFill(0xE4, 0xEB, 0xF2);
const QColor kCodeFill(0xF3, 0xF4, 0xF6);
const QColor kNoteFill(0xFD, 0xF6, 0xE3);
const QColor kNoteColour(0xC8, 0x7A, 0x00);

QString FirstInstalled(const QStringList& wanted) {
  const QStringList families = QFontDatabase::families();
  const auto found = std::ranges::find_if(
      wanted, [&families](const QString& family) { return families.contains(family); });
  return found == wanted.end() ? QString() : *found;
}

void DrawText(QPainter& painter, QTextDocument& text, QPointF place) {
  painter.save();
  painter.translate(place);
  QAbstractTextDocumentLayout::PaintContext context;
  context.palette.setColor(QPalette::Text, Qt::black);
  text.documentLayout()->draw(&painter, context);
  painter.restore();
}

/// True for a paragraph before something that is none: it announces what follows.
bool Announces(const QList<Block>& blocks, qsizetype index) {
  if (index + 1 == blocks.size()) return false;
  const BlockKind next = blocks.at(index + 1).Kind;
  return next != BlockKind::Paragraph && next != BlockKind::Heading;
}

/// Links into other chapters are words; others are links of the PDF.
QString WithLinks(QString html) {
  static const QRegularExpression chapter_link("<a href=\"[^\"]*\\.md\">(.*?)</a>");
  return html.replace(chapter_link, "\\1");
}

}  // namespace

/// A text, laid out.
struct Layout::Text {
  std::shared_ptr<QTextDocument> Document;
  double Height = 0;
};

Fonts FindFonts() {
  return {.Text = FirstInstalled({"Noto Sans CJK JP", "Yu Gothic UI", "Meiryo", "IPAPGothic"}),
          .Code = FirstInstalled({"Noto Sans Mono CJK JP", "MS Gothic", "IPAGothic"})};
}

Layout::Layout(QPaintDevice& device, Fonts fonts, double width)
    : device_(device), fonts_(std::move(fonts)), width_(width) {}

double Layout::Millimetres(double count) const {
  return count * device_.logicalDpiX() / kMillimetresPerInch;
}

Layout::Text Layout::TextOf(const QString& content, double width, const Style& style) const {
  auto document = std::make_shared<QTextDocument>();
  document->documentLayout()->setPaintDevice(&device_);
  document->setUseDesignMetrics(true);
  document->setDocumentMargin(0);
  QFont font(style.Code ? fonts_.Code : fonts_.Text);
  font.setPointSizeF(style.Points);
  font.setBold(style.Bold);
  // Glyphs that the shaper puts in place of a character's own are lost to search and copying.
  font.setStyleStrategy(QFont::PreferNoShaping);
  document->setDefaultFont(font);
  document->setDefaultStyleSheet(
      QString("code { font-family: '%1'; color: #1F4E79; } a { color: #1F4E79; "
              "text-decoration: none; }")
          .arg(fonts_.Code));
  QTextOption option = document->defaultTextOption();
  option.setAlignment(style.Alignment);
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  document->setDefaultTextOption(option);
  if (style.Code) {
    document->setPlainText(content);
  } else {
    document->setHtml(WithLinks(content));
  }
  if (style.LineHeight > 0) {
    QTextBlockFormat format;
    format.setLineHeight(style.LineHeight, QTextBlockFormat::ProportionalHeight);
    QTextCursor cursor(document.get());
    cursor.select(QTextCursor::Document);
    cursor.mergeBlockFormat(format);
  }
  document->setTextWidth(width);
  const double height = document->documentLayout()->documentSize().height();
  return {.Document = document, .Height = height};
}

std::vector<Piece> Layout::Chapter(const manual::Chapter& chapter, int number) const {
  std::vector<Piece> pieces;
  int section = 0;
  BlockKind previous = BlockKind::Heading;
  for (qsizetype index = 0; index < chapter.Blocks.size(); ++index) {
    const Block& block = chapter.Blocks.at(index);
    switch (block.Kind) {
      case BlockKind::Heading: {
        QString numbering;
        if (block.Level == 1) numbering = QString::number(number);
        if (block.Level == 2) numbering = QString("%1.%2").arg(number).arg(++section);
        pieces.push_back(HeadingPiece(block, numbering));
        break;
      }
      case BlockKind::Paragraph:
        pieces.push_back(ParagraphPiece(block, Announces(chapter.Blocks, index)));
        break;
      case BlockKind::Item:
        pieces.push_back(ItemPiece(block, previous != BlockKind::Item));
        break;
      case BlockKind::Table:
        std::ranges::move(TablePieces(block), std::back_inserter(pieces));
        break;
      case BlockKind::Code:
        pieces.push_back(CodePiece(block));
        break;
      case BlockKind::Picture:
        pieces.push_back(PictureOf(block.Path, block.Text, block.Percent));
        break;
      case BlockKind::Note:
        pieces.push_back(NotePiece(block));
        break;
    }
    previous = block.Kind;
  }
  return pieces;
}

Piece Layout::HeadingPiece(const Block& block, const QString& number) const {
  constexpr double kPoints[] = {17, 12.5, 10.5};
  constexpr double kSpaces[] = {0, 7, 4.5};
  const std::size_t level = static_cast<std::size_t>(block.Level) - 1;
  const QString title = (number.isEmpty() ? "" : number + "　") + block.Text;
  const Text text = TextOf("<span style=\"color:" + kAccent.name() + "\">" + title + "</span>",
                           width_, {.Points = kPoints[level], .Bold = true});
  const bool ruled = block.Level == 1;
  const double rule = ruled ? Millimetres(2) : 0;
  const double thickness = Millimetres(0.5);
  return {.Height = text.Height + rule + (ruled ? Millimetres(2) : 0),
          .SpaceBefore = Millimetres(kSpaces[level]),
          .StartsPage = block.Level == 1,
          .KeepWithNext = true,
          .Draw =
              [text, ruled, rule, thickness, width = width_](QPainter& painter, QPointF place) {
                DrawText(painter, *text.Document, place);
                if (!ruled) return;
                painter.fillRect(
                    QRectF(place.x(), place.y() + text.Height + rule / 2, width, thickness),
                    kAccent);
              },
          .Heading = {.Level = block.Level <= 2 ? block.Level : 0, .Title = PlainText(title)},
          .TableHeader = nullptr};
}

Piece Layout::ParagraphPiece(const Block& block, bool announces) const {
  const Text text =
      TextOf(block.Text, width_, {.Points = kTextPoints, .LineHeight = kTextLineHeight});
  return {.Height = text.Height,
          .SpaceBefore = Millimetres(kParagraphSpace),
          .StartsPage = false,
          .KeepWithNext = announces,
          .Draw = [text](QPainter& painter,
                         QPointF place) { DrawText(painter, *text.Document, place); },
          .Heading = {},
          .TableHeader = nullptr};
}

Piece Layout::ItemPiece(const Block& block, bool first) const {
  const double indent = Millimetres(kItemIndent);
  const double left = indent * block.Level;
  const Style style{.Points = kTextPoints, .LineHeight = kTextLineHeight};
  const Text marker = TextOf(block.Marker, indent, style);
  const Text text = TextOf(block.Text, width_ - left - indent, style);
  return {.Height = text.Height,
          .SpaceBefore = Millimetres(first ? kParagraphSpace : kItemSpace),
          .StartsPage = false,
          .KeepWithNext = false,
          .Draw =
              [marker, text, left, indent](QPainter& painter, QPointF place) {
                DrawText(painter, *marker.Document, place + QPointF(left, 0));
                DrawText(painter, *text.Document, place + QPointF(left + indent, 0));
              },
          .Heading = {},
          .TableHeader = nullptr};
}

Piece Layout::CodePiece(const Block& block) const {
  const double padding = Millimetres(kBoxPadding);
  const Text text = TextOf(block.Text, width_ - 2 * padding, {.Points = kCodePoints, .Code = true});
  const double height = text.Height + 2 * padding;
  return {.Height = height,
          .SpaceBefore = Millimetres(kParagraphSpace),
          .StartsPage = false,
          .KeepWithNext = false,
          .Draw =
              [text, padding, height, width = width_](QPainter& painter, QPointF place) {
                painter.fillRect(QRectF(place, QSizeF(width, height)), kCodeFill);
                DrawText(painter, *text.Document, place + QPointF(padding, padding));
              },
          .Heading = {},
          .TableHeader = nullptr};
}

Piece Layout::NotePiece(const Block& block) const {
  const double padding = Millimetres(kBoxPadding);
  const double bar = Millimetres(kNoteBar);
  const Text text = TextOf(block.Text, width_ - bar - 2 * padding,
                           {.Points = kTextPoints, .LineHeight = kTextLineHeight});
  const double height = text.Height + 2 * padding;
  return {.Height = height,
          .SpaceBefore = Millimetres(kParagraphSpace + 0.6),
          .StartsPage = false,
          .KeepWithNext = false,
          .Draw =
              [text, padding, bar, height, width = width_](QPainter& painter, QPointF place) {
                painter.fillRect(QRectF(place, QSizeF(width, height)), kNoteFill);
                painter.fillRect(QRectF(place, QSizeF(bar, height)), kNoteColour);
                DrawText(painter, *text.Document, place + QPointF(bar + padding, padding));
              },
          .Heading = {},
          .TableHeader = nullptr};
}

std::vector<Piece> Layout::TablePieces(const Block& block) const {
  const int sum = std::accumulate(block.Widths.begin(), block.Widths.end(), 0);
  std::vector<double> widths;
  for (const int width : block.Widths) widths.push_back(width_ * width / sum);

  std::vector<Piece> pieces;
  for (const QStringList& row : block.Rows) {
    pieces.push_back(RowPiece(row, widths, pieces.empty()));
  }
  const auto header = std::make_shared<Piece>(pieces.front());
  pieces.front().SpaceBefore = Millimetres(kParagraphSpace);
  for (std::size_t index = 1; index < pieces.size(); ++index) pieces[index].TableHeader = header;
  // The header is not alone at the end of a page, nor is a row at the start of one.
  pieces.front().KeepWithNext = true;
  if (pieces.size() > 2) {
    pieces[1].KeepWithNext = true;
    pieces[pieces.size() - 2].KeepWithNext = true;
  }
  return pieces;
}

Piece Layout::RowPiece(const QStringList& cells, const std::vector<double>& widths,
                       bool header) const {
  const double padding = Millimetres(kCellPadding);
  const double line = Millimetres(kHairline);
  std::vector<Text> texts;
  double height = 0;
  for (qsizetype column = 0; column < cells.size(); ++column) {
    const double width = widths[static_cast<std::size_t>(column)] - 2 * padding;
    texts.push_back(
        TextOf(cells.at(column), width,
               {.Points = kTablePoints, .Bold = header, .LineHeight = kTableLineHeight}));
    height = std::max(height, texts.back().Height);
  }
  height += 2 * padding;
  const auto draw = [texts, widths, padding, line, height, header](QPainter& painter,
                                                                   QPointF place) {
    painter.save();
    painter.setPen(QPen(kLine, line));
    painter.setBrush(header ? QBrush(kHeaderFill) : QBrush(Qt::NoBrush));
    for (std::size_t column = 0; column < texts.size(); ++column) {
      painter.drawRect(QRectF(place, QSizeF(widths[column], height)));
      DrawText(painter, *texts[column].Document, place + QPointF(padding, padding));
      place.rx() += widths[column];
    }
    painter.restore();
  };
  return {.Height = height,
          .SpaceBefore = 0,
          .StartsPage = false,
          .KeepWithNext = false,
          .Draw = draw,
          .Heading = {},
          .TableHeader = nullptr};
}

Piece Layout::PictureOf(const QString& path, const QString& caption, int percent) const {
  const QImage image(path);
  double width = image.width() * device_.logicalDpiX() / kPicturePixelsPerInch;
  if (percent > 0) width = width_ * percent / 100;
  width = std::min(width, width_);
  const double image_height = width * image.height() / std::max(image.width(), 1);
  const Text text =
      TextOf(caption, width_, {.Points = kCaptionPoints, .Alignment = Qt::AlignHCenter});
  const double space = Millimetres(kCaptionSpace);
  const double line = Millimetres(kHairline);
  const double left = (width_ - width) / 2;
  return {.Height = image_height + (caption.isEmpty() ? 0 : space + text.Height),
          .SpaceBefore = Millimetres(kParagraphSpace + 1),
          .StartsPage = false,
          .KeepWithNext = false,
          .Draw =
              [=](QPainter& painter, QPointF place) {
                const QRectF target(place + QPointF(left, 0), QSizeF(width, image_height));
                painter.save();
                painter.drawImage(target, image);
                painter.setPen(QPen(kLine, line));
                painter.setBrush(Qt::NoBrush);
                painter.drawRect(target);
                painter.restore();
                if (caption.isEmpty()) return;
                DrawText(painter, *text.Document, place + QPointF(0, image_height + space));
              },
          .Heading = {},
          .TableHeader = nullptr};
}

Piece Layout::Line(const QString& html, double points, Qt::Alignment alignment) const {
  const Text text = TextOf(html, width_, {.Points = points, .Alignment = alignment});
  return {.Height = text.Height,
          .SpaceBefore = 0,
          .StartsPage = false,
          .KeepWithNext = false,
          .Draw = [text](QPainter& painter,
                         QPointF place) { DrawText(painter, *text.Document, place); },
          .Heading = {},
          .TableHeader = nullptr};
}

Piece Layout::ContentsLine(const Heading& heading, int page) const {
  const bool chapter = heading.Level == 1;
  const double left = chapter ? 0 : Millimetres(kItemIndent);
  const double number_width = Millimetres(10);
  const Style style{.Points = chapter ? 10.0 : kTextPoints, .Bold = chapter};
  const Text title = TextOf(heading.Title.toHtmlEscaped(), width_ - left - number_width, style);
  Style number_style = style;
  number_style.Alignment = Qt::AlignRight;
  const Text number = TextOf(QString::number(page), number_width, number_style);
  const double space = Millimetres(2);
  return {.Height = title.Height,
          .SpaceBefore = Millimetres(chapter ? 2.6 : 0.7),
          .StartsPage = false,
          .KeepWithNext = chapter,
          .Draw =
              [=, width = width_, dot = Millimetres(0.3)](QPainter& painter, QPointF place) {
                DrawText(painter, *title.Document, place + QPointF(left, 0));
                DrawText(painter, *number.Document, place + QPointF(width - number_width, 0));
                painter.save();
                QPen leader(kLine, dot);
                leader.setDashPattern({1, 6});
                painter.setPen(leader);
                const double y = place.y() + title.Height * 0.72;
                const double start = place.x() + left + title.Document->idealWidth() + space;
                const double end = place.x() + width - number.Document->idealWidth() - space;
                if (start < end) painter.drawLine(QPointF(start, y), QPointF(end, y));
                painter.restore();
              },
          .Heading = heading,
          .TableHeader = nullptr};
}

}  // namespace fenwright::manual
