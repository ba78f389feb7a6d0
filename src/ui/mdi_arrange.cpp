#include "ui/mdi_arrange.h"

#include <algorithm>
#include <cstdlib>

namespace fenwright::ui {
namespace {

/// So many pixels more or less are not worth a change.
constexpr int kSlack = 24;

/// What the report and the guide need at least.
constexpr QSize kLeastFree(330, 130);
constexpr int kMostFreeBelow = 200;

constexpr int kLeastHeight = 60;

bool IsAbout(int length, int first) { return std::abs(length - first) <= kSlack; }

/// One above the other, in the heights' first proportion.
ViewPlaces Stacked(const QSize& area, const ViewPlaces& first, bool keep_free) {
  const int gap = first.Flash.left();
  const int first_bottom = first.Eeprom.bottom() + 1 + gap;
  const int first_right = first.Flash.right() + 1 + gap;
  const int width =
      IsAbout(area.width(), first_right) ? first.Flash.width() : area.width() - 2 * gap;
  ViewPlaces places;
  int height = area.height();
  if (keep_free && height - first_bottom >= kLeastFree.height()) {
    const int free_height = std::min(height - first_bottom, kMostFreeBelow);
    height -= free_height;
    places.Free = QRect(gap, height, width, free_height - gap);
  }
  if (IsAbout(height, first_bottom)) height = first_bottom;
  const int both = height - 3 * gap;
  const int first_both = first.Flash.height() + first.Eeprom.height();
  const int flash = std::max(kLeastHeight, both * first.Flash.height() / first_both);
  const int eeprom = std::max(kLeastHeight, both - flash);
  places.Flash = QRect(gap, gap, width, flash);
  places.Eeprom = QRect(gap, gap + flash + gap, width, eeprom);
  return places;
}

/// The flash view on the left; the other, and the free room below it, on the right.
ViewPlaces SideBySide(const QSize& area, const ViewPlaces& first, bool keep_free) {
  const int gap = first.Flash.left();
  const int height = area.height() - 2 * gap;
  const int left = (area.width() - 3 * gap) / 2;
  const QRect right(gap + left + gap, gap, area.width() - left - 3 * gap, height);
  ViewPlaces places{.Flash = QRect(gap, gap, left, height), .Eeprom = right, .Free = {}};
  const int above = std::max(first.Eeprom.height(), height * 2 / 5);
  if (keep_free && height - above - gap >= kLeastFree.height()) {
    places.Eeprom.setHeight(above);
    places.Free = right.adjusted(0, above + gap, 0, 0);
  }
  return places;
}

}  // namespace

ViewPlaces ShareRoom(const QSize& area, const ViewPlaces& first, bool keep_free) {
  const int gap = first.Flash.left();
  const bool wide = area.width() >= 2 * first.Flash.width() + 3 * gap;
  return wide ? SideBySide(area, first, keep_free) : Stacked(area, first, keep_free);
}

std::vector<QRect> CascadePlaces(const QSize& area, int count, int step) {
  const QSize size(area.width() * 3 / 4, area.height() * 3 / 4);
  const int room = std::min(area.width() - size.width(), area.height() - size.height());
  const int places = std::max(1, room / std::max(1, step) + 1);
  std::vector<QRect> result;
  for (int child = 0; child < count; ++child) {
    const int offset = (child % places) * step;
    result.emplace_back(QPoint(offset, offset), size);
  }
  return result;
}

std::vector<QRect> TilePlaces(const QSize& area, int count, Qt::Orientation direction) {
  const bool vertical = direction == Qt::Vertical;
  const int length = vertical ? area.height() : area.width();
  std::vector<QRect> result;
  for (int child = 0; child < count; ++child) {
    const int begin = length * child / count;
    const int end = length * (child + 1) / count;
    result.push_back(vertical ? QRect(0, begin, area.width(), end - begin)
                              : QRect(begin, 0, end - begin, area.height()));
  }
  return result;
}

std::vector<QPoint> IconPlaces(const QSize& area, int count, const QSize& icon) {
  const int columns = std::max(1, area.width() / std::max(1, icon.width()));
  const int rows = std::max(1, area.height() / std::max(1, icon.height()));
  std::vector<QPoint> result;
  for (int child = 0; child < count; ++child) {
    const int place = child % (columns * rows);
    result.emplace_back(place % columns * icon.width(),
                        area.height() - (place / columns + 1) * icon.height());
  }
  return result;
}

}  // namespace fenwright::ui
