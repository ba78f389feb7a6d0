#include "manual/manual_pdf.h"

#include <algorithm>

#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>

#include "manual/pages.h"
#include "manual/pdf_bookmarks.h"
#include "manual/pdf_characters.h"

namespace fenwright::manual {
namespace {

constexpr int kDotsPerInch = 600;
constexpr double kPointsPerInch = 72;

// Millimetres of an A4 page.
constexpr double kPageWidth = 210;
constexpr double kPageHeight = 297;
constexpr double kSide = 21;
constexpr double kTop = 25;
constexpr double kBottom = 24;
constexpr double kRunningTitle = 13;  ///< from the page's upper edge
constexpr double kPageNumber = 14;    ///< from the page's lower edge

constexpr double kRunningPoints = 8;

const QString kProgram = "Fenwright";
const QString kManual = "取扱説明書";
const QString kContents = "目次";
const QString kVersion = "バージョン";
const QString kSubject = "AT90S / ATtiny マイクロコントローラー用プログラマー";

/// A heading and where it ended up.
struct PlacedHeading {
  manual::Heading Heading;
  int Page = 0;  ///< of the whole document, from 0
  double Top = 0;
};

class Book {
 public:
  Book(QPdfWriter& writer, const Fonts& fonts)
      : writer_(writer), fonts_(fonts), layout_(writer, fonts, Units(kPageWidth - 2 * kSide)) {}

  QByteArray Make(const QList<Chapter>& chapters, const TitlePage& title, QBuffer& output) {
    for (qsizetype index = 0; index < chapters.size(); ++index) {
      std::ranges::move(layout_.Chapter(chapters.at(index), static_cast<int>(index) + 1),
                        std::back_inserter(pieces_));
    }
    const double height = Units(kPageHeight - kTop - kBottom);
    const std::vector<Page> pages = Paginate(pieces_, height);
    // How many pages the contents take does not depend on the numbers in them.
    const int contents_pages = static_cast<int>(ContentsPages(HeadingsOf(pages, 0)).size());
    const int first_page = 1 + contents_pages;
    const std::vector<PlacedHeading> headings = HeadingsOf(pages, first_page);

    QPainter painter(&writer_);
    if (!painter.isActive()) return {};
    DrawTitlePage(painter, title);
    int number = 1;
    for (const Page& page : ContentsPages(headings)) {
      DrawPage(painter, page, ++number, kContents);
      AddLinks(page, number - 1, headings);
    }
    QString chapter;
    for (const Page& page : pages) {
      for (const PlacedPiece& placed : page) {
        if (placed.What->Heading.Level == 1) chapter = placed.What->Heading.Title;
      }
      DrawPage(painter, page, ++number, chapter);
    }
    painter.end();
    QByteArray pdf = output.data();
    NameUsedCharacters(pdf, TextOf(chapters), fonts_.Text);
    return WithBookmarks(pdf, BookmarksOf(headings), links_);
  }

 private:
  [[nodiscard]] double Units(double millimetres) const { return millimetres * kDotsPerInch / 25.4; }
  [[nodiscard]] double Points(double units) const { return units * kPointsPerInch / kDotsPerInch; }

  /// From the lower edge of the page, in points.
  [[nodiscard]] double PointsFromBelow(double top) const {
    return Points(Units(kPageHeight - kTop) - top);
  }

  static std::vector<PlacedHeading> HeadingsOf(const std::vector<Page>& pages, int first_page) {
    std::vector<PlacedHeading> headings;
    int number = first_page;
    for (const Page& page : pages) {
      for (const PlacedPiece& placed : page) {
        if (placed.What->Heading.Level == 0) continue;
        headings.push_back({placed.What->Heading, number, placed.Top});
      }
      ++number;
    }
    return headings;
  }

  std::vector<Page> ContentsPages(const std::vector<PlacedHeading>& headings) {
    contents_.clear();
    contents_.push_back(layout_.Line("<b>" + kContents + "</b>", 17, Qt::AlignLeft));
    contents_.back().Height += Units(4);
    for (const PlacedHeading& heading : headings) {
      contents_.push_back(layout_.ContentsLine(heading.Heading, heading.Page + 1));
    }
    return Paginate(contents_, Units(kPageHeight - kTop - kBottom));
  }

  void AddLinks(const Page& page, int number, const std::vector<PlacedHeading>& headings) {
    for (const PlacedPiece& placed : page) {
      const auto index = static_cast<std::size_t>(placed.What - contents_.data());
      if (index == 0) continue;
      const PlacedHeading& target = headings.at(index - 1);
      const QRectF area(Points(Units(kSide)), PointsFromBelow(placed.Top + placed.What->Height),
                        Points(Units(kPageWidth - 2 * kSide)), Points(placed.What->Height));
      links_.append({.Page = number,
                     .Area = area,
                     .Target = {.Page = target.Page, .Y = PointsFromBelow(target.Top)}});
    }
  }

  [[nodiscard]] QList<Bookmark> BookmarksOf(const std::vector<PlacedHeading>& headings) const {
    QList<Bookmark> bookmarks;
    for (const PlacedHeading& heading : headings) {
      bookmarks.append({.Level = heading.Heading.Level,
                        .Title = heading.Heading.Title,
                        .Target = {.Page = heading.Page, .Y = PointsFromBelow(heading.Top)}});
    }
    return bookmarks;
  }

  void DrawTitlePage(QPainter& painter, const TitlePage& title) const {
    double y = Units(62);
    const auto draw = [&](const QString& html, double points, double space) {
      const Piece line = layout_.Line(html, points, Qt::AlignHCenter);
      line.Draw(painter, QPointF(Units(kSide), y));
      y += line.Height + Units(space);
    };
    draw("<b style=\"color:#1F4E79\">" + kProgram + "</b>", 38, 1);
    draw(kManual, 20, 7);
    painter.fillRect(QRectF(Units(kPageWidth / 2 - 20), y, Units(40), Units(0.6)),
                     QColor(0x1F, 0x4E, 0x79));
    y += Units(7);
    draw(kSubject, 11, 2);
    draw(kVersion + " " + title.Version, 11, 14);
    if (title.Picture.isEmpty()) return;
    layout_.PictureOf(title.Picture, {}, 86).Draw(painter, QPointF(Units(kSide), y));
  }

  void DrawPage(QPainter& painter, const Page& page, int number, const QString& chapter) {
    writer_.newPage();
    const QPointF left(Units(kSide), Units(kRunningTitle));
    layout_.Line(kProgram + " " + kManual, kRunningPoints, Qt::AlignLeft).Draw(painter, left);
    const Piece right = layout_.Line(chapter.toHtmlEscaped(), kRunningPoints, Qt::AlignRight);
    right.Draw(painter, left);
    painter.fillRect(QRectF(left.x(), left.y() + right.Height + Units(1),
                            Units(kPageWidth - 2 * kSide), Units(0.15)),
                     Qt::gray);
    for (const PlacedPiece& placed : page) {
      placed.What->Draw(painter, QPointF(Units(kSide), Units(kTop) + placed.Top));
    }
    layout_.Line(QString::number(number), kRunningPoints + 1, Qt::AlignHCenter)
        .Draw(painter, QPointF(Units(kSide), Units(kPageHeight - kPageNumber)));
  }

  /// Every character of the manual, some more than once.
  static QString TextOf(const QList<Chapter>& chapters) {
    QString text = kProgram + kManual + kSubject + kContents + kVersion + "0123456789.・";
    for (const Chapter& chapter : chapters) {
      for (const Block& block : chapter.Blocks) {
        text += PlainText(block.Text) + block.Marker;
        for (const QStringList& row : block.Rows) text += PlainText(row.join(QString()));
      }
    }
    return text;
  }

  QPdfWriter& writer_;
  Fonts fonts_;
  Layout layout_;
  std::vector<Piece> pieces_;
  std::vector<Piece> contents_;
  QList<InnerLink> links_;
};

}  // namespace

QByteArray MakePdf(const QList<Chapter>& chapters, const TitlePage& title, const Fonts& fonts) {
  QBuffer output;
  output.open(QIODevice::WriteOnly);
  QPdfWriter writer(&output);
  writer.setResolution(kDotsPerInch);
  writer.setPageSize(QPageSize(QPageSize::A4));
  writer.setPageMargins(QMarginsF(0, 0, 0, 0));
  writer.setTitle(kProgram + " " + kManual + " " + title.Version);
  writer.setCreator(kProgram + " " + title.Version);
  return Book(writer, fonts).Make(chapters, title, output);
}

}  // namespace fenwright::manual
