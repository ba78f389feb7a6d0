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

}  // namespace fenwright::ui
