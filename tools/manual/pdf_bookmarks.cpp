#include "manual/pdf_bookmarks.h"

#include <map>
#include <optional>

#include <QRegularExpression>

namespace fenwright::manual {
namespace {

/// What has to be known of a PDF to append to it.
struct PdfParts {
  int ObjectCount = 0;
  int Root = 0;
  int Info = 0;
  int Pages = 0;
  qsizetype CrossReference = 0;
  QList<int> PageObjects;
  QList<int> PageAnnotations;  ///< the object that lists a page's links
};

std::optional<int> Number(const QByteArray& text, const QString& pattern) {
  const QRegularExpressionMatch match =
      QRegularExpression(pattern).match(QString::fromLatin1(text));
  if (!match.hasMatch()) return std::nullopt;
  return match.captured(1).toInt();
}

/// The content of an object, between "n 0 obj" and "endobj".
QByteArray ObjectText(const QByteArray& pdf, int number) {
  const QByteArray start = '\n' + QByteArray::number(number) + " 0 obj\n";
  const qsizetype at = pdf.indexOf(start);
  if (at < 0) return {};
  const qsizetype from = at + start.size();
  return pdf.mid(from, pdf.indexOf("endobj", from) - from);
}

bool ReadPages(const QByteArray& pdf, PdfParts& parts) {
  const QString pages = QString::fromLatin1(ObjectText(pdf, parts.Pages));
  const QRegularExpressionMatch kids = QRegularExpression(R"(/Kids\s*\[([^\]]*)\])").match(pages);
  static const QRegularExpression reference(R"((\d+) 0 R)");
  for (auto found = reference.globalMatch(kids.captured(1)); found.hasNext();) {
    const int page = found.next().captured(1).toInt();
    const auto annotations = Number(ObjectText(pdf, page), R"(/Annots (\d+) 0 R)");
    if (!annotations) return false;
    parts.PageObjects.append(page);
    parts.PageAnnotations.append(*annotations);
  }
  return !parts.PageObjects.isEmpty();
}

std::optional<PdfParts> ReadParts(const QByteArray& pdf) {
  const QByteArray trailer = pdf.mid(pdf.lastIndexOf("trailer"));
  const auto size = Number(trailer, R"(/Size (\d+))");
  const auto root = Number(trailer, R"(/Root (\d+) 0 R)");
  const auto info = Number(trailer, R"(/Info (\d+) 0 R)");
  const auto start = Number(trailer, R"(startxref\s+(\d+))");
  if (!size || !root || !info || !start) return std::nullopt;
  const auto pages = Number(ObjectText(pdf, *root), R"(/Pages (\d+) 0 R)");
  if (!pages) return std::nullopt;
  PdfParts parts{.ObjectCount = *size,
                 .Root = *root,
                 .Info = *info,
                 .Pages = *pages,
                 .CrossReference = *start,
                 .PageObjects = {},
                 .PageAnnotations = {}};
  if (!ReadPages(pdf, parts)) return std::nullopt;
  return parts;
}

QByteArray Reference(int object) { return QByteArray::number(object) + " 0 R"; }

/// A text in the format's own UTF-16, as hexadecimal digits.
QByteArray HexText(const QString& text) {
  QByteArray hex("<FEFF");
  for (const QChar character : text) {
    hex += QByteArray::number(character.unicode(), 16).toUpper().rightJustified(4, '0');
  }
  return hex + '>';
}

QByteArray Destination(const PdfParts& parts, const PdfPlace& place) {
  return "[" + Reference(parts.PageObjects.at(place.Page)) + " /XYZ null " +
         QByteArray::number(place.Y, 'f', 1) + " null]";
}

/// The objects that an update of the file adds or replaces, by their numbers.
using Objects = std::map<int, QByteArray>;

/// Adds the tree of bookmarks; returns the object number of its root.
int AddBookmarks(const PdfParts& parts, const QList<Bookmark>& bookmarks, Objects& objects) {
  const int root = parts.ObjectCount;
  const auto object_of = [root](qsizetype index) { return root + 1 + static_cast<int>(index); };
  std::map<int, QList<int>> children;
  std::map<int, int> parents;
  int chapter = root;
  for (qsizetype index = 0; index < bookmarks.size(); ++index) {
    const int object = object_of(index);
    if (bookmarks.at(index).Level == 1) chapter = object;
    const int parent = bookmarks.at(index).Level == 1 ? root : chapter;
    children[parent].append(object);
    parents[object] = parent;
  }
  const auto family = [&children](int object) -> QByteArray {
    const QList<int>& own = children[object];
    if (own.isEmpty()) return {};
    return " /First " + Reference(own.first()) + " /Last " + Reference(own.last());
  };
  const QByteArray count = QByteArray::number(children[root].size());
  objects[root] = "<< /Type /Outlines" + family(root) + " /Count " + count + " >>";
  for (qsizetype index = 0; index < bookmarks.size(); ++index) {
    const int object = object_of(index);
    const QList<int>& siblings = children[parents[object]];
    const qsizetype place = siblings.indexOf(object);
    QByteArray text = "<< /Title " + HexText(bookmarks.at(index).Title) + " /Parent " +
                      Reference(parents[object]);
    if (place > 0) text += " /Prev " + Reference(siblings.at(place - 1));
    if (place + 1 < siblings.size()) text += " /Next " + Reference(siblings.at(place + 1));
    // A negative count: the sections are folded away at first.
    if (!children[object].isEmpty()) {
      text += family(object) + " /Count -" + QByteArray::number(children[object].size());
    }
    objects[object] = text + " /Dest " + Destination(parts, bookmarks.at(index).Target) + " >>";
  }
  return root;
}

QByteArray Point(QPointF point) {
  return QByteArray::number(point.x(), 'f', 1) + ' ' + QByteArray::number(point.y(), 'f', 1);
}

void AddLinks(const PdfParts& parts, const QList<InnerLink>& links, Objects& objects) {
  for (const InnerLink& link : links) {
    QByteArray& list = objects[parts.PageAnnotations.at(link.Page)];
    if (list.isEmpty()) list = "[ ]";
    list.chop(1);
    list += "<< /Type /Annot /Subtype /Link /Border [0 0 0] /Rect [" + Point(link.Area.topLeft()) +
            " " + Point(link.Area.bottomRight());
    list += "] /Dest " + Destination(parts, link.Target) + " >> ]";
  }
}

/// Blanks out the time of making, so that no offset changes.
void RemoveDate(QByteArray& pdf) {
  const qsizetype start = pdf.indexOf("/CreationDate (");
  if (start < 0) return;
  const qsizetype end = pdf.indexOf(')', start) + 1;
  pdf.replace(start, end - start, QByteArray(end - start, ' '));
}

QByteArray CrossReferenceLine(qsizetype offset) {
  return QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
}

/// Appends the objects with a table of where they are.
QByteArray Update(const PdfParts& parts, qsizetype start, const Objects& objects) {
  QByteArray update;
  QByteArray table("xref\n");
  for (const auto& [number, text] : objects) {
    table += QByteArray::number(number) + " 1\n" + CrossReferenceLine(start + update.size());
    update += QByteArray::number(number) + " 0 obj\n" + text + "\nendobj\n";
  }
  const qsizetype table_start = start + update.size();
  const int size = std::max(parts.ObjectCount, objects.rbegin()->first + 1);
  return update + table + "trailer\n<< /Size " + QByteArray::number(size) + " /Info " +
         Reference(parts.Info) + " /Root " + Reference(parts.Root) + " /Prev " +
         QByteArray::number(parts.CrossReference) + " >>\nstartxref\n" +
         QByteArray::number(table_start) + "\n%%EOF\n";
}

}  // namespace

QByteArray WithBookmarks(QByteArray pdf, const QList<Bookmark>& bookmarks,
                         const QList<InnerLink>& links) {
  const std::optional<PdfParts> parts = ReadParts(pdf);
  if (!parts) return {};
  RemoveDate(pdf);
  if (!pdf.endsWith('\n')) pdf += '\n';
  Objects objects;
  const int outlines = AddBookmarks(*parts, bookmarks, objects);
  AddLinks(*parts, links, objects);
  objects[parts->Root] = "<< /Type /Catalog /Pages " + Reference(parts->Pages) + " /Outlines " +
                         Reference(outlines) + " /PageMode /UseOutlines /Lang (ja) >>";
  return pdf + Update(*parts, pdf.size(), objects);
}

}  // namespace fenwright::manual
