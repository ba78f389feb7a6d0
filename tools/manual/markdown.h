#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace fenwright::manual {

enum class BlockKind { Heading, Paragraph, Item, Table, Code, Picture, Note };

/// One block of a chapter. Texts are inline HTML (bold, code, links, line breaks), but for code,
/// which is as it was written.
struct Block {
  BlockKind Kind = BlockKind::Paragraph;
  int Line = 0;     ///< where it starts in the file, from 1
  int Level = 0;    ///< 1 to 3 of a heading, 0 or 1 (nested) of an item
  QString Text;     ///< a picture's caption
  QString Marker;   ///< of an item: "・" or its number
  QString Path;     ///< of a picture
  int Percent = 0;  ///< of the text's width that a picture takes, 0 = its own size

  QList<int> Widths;        ///< of a table's columns, relative to each other
  QList<QStringList> Rows;  ///< of a table, its header first
};

struct Markdown {
  QList<Block> Blocks;
  QString Error;  ///< what is wrong with the text, with its line; "" = nothing
};

/// Reads the Markdown that the manual is written in:
///
/// - headings "# ", "## ", "### ";
/// - paragraphs, whose lines are joined without a blank between Japanese characters;
/// - items "- " and "1. ", nested once by two or more blanks;
/// - tables with a header; the dashes of a column's rule give its relative width;
/// - code between lines of three backticks;
/// - notes, lines that start with "> ";
/// - pictures on a line of their own, "![caption](path)" or "![caption](path){60%}".
///
/// In a line: `code`, **bold**, [text](address), <br> in a table. A backslash takes the next
/// character as it is.
Markdown ReadMarkdown(const QString& text);

/// Inline Markdown as HTML.
QString InlineHtml(const QString& text);

/// Inline HTML as plain text.
QString PlainText(const QString& html);

}  // namespace fenwright::manual
