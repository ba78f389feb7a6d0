#include "ui/mdi_arrange.h"

#include <algorithm>

namespace fenwright::ui {

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
