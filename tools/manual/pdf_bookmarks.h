#pragma once

#include <QByteArray>
#include <QList>
#include <QRectF>
#include <QString>

namespace fenwright::manual {

/// A place in a PDF: page from 0, height above the page's lower edge in points.
struct PdfPlace {
  int Page = 0;
  double Y = 0;
};

struct Bookmark {
  int Level = 1;  ///< 1 or 2; a 2 belongs to the 1 before it
  QString Title;
  PdfPlace Target;
};

/// A link inside the PDF; the area is in points, its origin the page's lower left corner.
struct InnerLink {
  int Page = 0;
  QRectF Area;
  PdfPlace Target;
};

/// Adds bookmarks and links to a PDF that QPdfWriter made, and takes the time of its making out, so
/// that the same text gives the same bytes. They are appended as an update of the file, as the
/// format provides for. Empty when the PDF is not built as expected.
QByteArray WithBookmarks(QByteArray pdf, const QList<Bookmark>& bookmarks,
                         const QList<InnerLink>& links);

}  // namespace fenwright::manual
