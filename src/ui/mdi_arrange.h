#pragma once

#include <vector>

#include <QRect>
#include <QSize>

namespace fenwright::ui {

/// Places for `count` child windows inside `area`, first to last. None lies outside.

/// Overlapping, each `step` pixels further right and down than the one before, so that its title
/// shows; starts again at the corner when the room is used up.
std::vector<QRect> CascadePlaces(const QSize& area, int count, int step);

/// One above the other (Vertical) or side by side (Horizontal), filling the area.
std::vector<QRect> TilePlaces(const QSize& area, int count, Qt::Orientation direction);

/// Corners of minimised windows of one size: in rows from the lower left corner to the right, each
/// further row above the one before. Without room they start again at the lower left corner.
std::vector<QPoint> IconPlaces(const QSize& area, int count, const QSize& icon);

/// Places for the views as long as the user leaves them where they are.
struct ViewPlaces {
  QRect Flash;
  QRect Eeprom;
  QRect Free;  ///< room beside the views for the report or the guide; empty = there is none

  bool operator==(const ViewPlaces&) const = default;
};

/// Shares `area` out. In an area of the first size, within a few pixels, the views stand at their
/// first places; in another they fill it: one above the other, or side by side where both have the
/// width of a whole line. With `keep_free` they leave room beside them if there is some.
ViewPlaces ShareRoom(const QSize& area, const ViewPlaces& first, bool keep_free);

}  // namespace fenwright::ui
