#pragma once

#include <QByteArray>
#include <QString>

#include "manual/chapters.h"
#include "manual/layout.h"

namespace fenwright::manual {

/// What the title page says and shows.
struct TitlePage {
  QString Version;
  QString Picture;  ///< path, "" = none
};

/// The manual as a PDF: title page, table of contents with page numbers, the chapters, running
/// title and page numbers, bookmarks. Empty when it could not be made.
QByteArray MakePdf(const QList<Chapter>& chapters, const TitlePage& title, const Fonts& fonts);

}  // namespace fenwright::manual
