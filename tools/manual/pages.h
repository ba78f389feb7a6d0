#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QPointF>
#include <QString>

class QPainter;

namespace fenwright::manual {

/// A heading, for the table of contents and the bookmarks.
struct Heading {
  int Level = 0;  ///< 1 or 2, 0 = none
  QString Title;
};

/// Something that is never cut by the end of a page. Lengths are in units of the page.
struct Piece {
  double Height = 0;
  double SpaceBefore = 0;     ///< not at the top of a page
  bool StartsPage = false;    ///< it comes first on its page
  bool KeepWithNext = false;  ///< the next piece starts on the same page
  std::function<void(QPainter&, QPointF)> Draw;
  manual::Heading Heading;
  /// The header row of the table that this piece is a row of; it is drawn again at the top of each
  /// further page. Null for other pieces.
  std::shared_ptr<Piece> TableHeader;
};

struct PlacedPiece {
  const Piece* What = nullptr;
  double Top = 0;  ///< from the top of the text
};

using Page = std::vector<PlacedPiece>;

/// Places pieces on pages of that height. A chain of pieces that are to be kept together goes to
/// the next page as a whole, when that page can hold it. `pieces` has to outlive the pages.
std::vector<Page> Paginate(const std::vector<Piece>& pieces, double page_height);

}  // namespace fenwright::manual
