#pragma once

#include <vector>

#include <QPaintDevice>
#include <QString>

#include "manual/chapters.h"
#include "manual/pages.h"

namespace fenwright::manual {

/// The fonts of the manual; empty names when no font with Japanese characters is installed.
struct Fonts {
  QString Text;
  QString Code;
};

/// The first installed ones of the fonts that the program's window uses.
Fonts FindFonts();

/// Makes pieces of a device's size and resolution out of blocks and texts.
class Layout {
 public:
  /// `width`: of the text, in units of the device.
  Layout(QPaintDevice& device, Fonts fonts, double width);

  /// Units of the device.
  [[nodiscard]] double Millimetres(double count) const;

  /// The pieces of a chapter; headings get their numbers.
  std::vector<Piece> Chapter(const manual::Chapter& chapter, int number) const;

  /// One line of the table of contents.
  [[nodiscard]] Piece ContentsLine(const Heading& heading, int page) const;

  /// A line of text of its own; `points` is the font's size.
  [[nodiscard]] Piece Line(const QString& html, double points, Qt::Alignment alignment) const;

  [[nodiscard]] Piece PictureOf(const QString& path, const QString& caption, int percent) const;

 private:
  struct Style {
    double Points = 0;
    bool Bold = false;
    Qt::Alignment Alignment = Qt::AlignLeft;
    bool Code = false;
    double LineHeight = 0;  ///< per cent, 0 = the usual
  };
  struct Text;

  [[nodiscard]] Text TextOf(const QString& content, double width, const Style& style) const;
  [[nodiscard]] Piece HeadingPiece(const Block& block, const QString& number) const;
  [[nodiscard]] Piece ParagraphPiece(const Block& block, bool announces) const;
  [[nodiscard]] Piece ItemPiece(const Block& block, bool first) const;
  [[nodiscard]] Piece CodePiece(const Block& block) const;
  [[nodiscard]] Piece NotePiece(const Block& block) const;
  [[nodiscard]] std::vector<Piece> TablePieces(const Block& block) const;
  [[nodiscard]] Piece RowPiece(const QStringList& cells, const std::vector<double>& widths,
                               bool header) const;

  QPaintDevice& device_;
  Fonts fonts_;
  double width_;
};

}  // namespace fenwright::manual
