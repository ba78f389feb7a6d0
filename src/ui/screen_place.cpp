#include "ui/screen_place.h"

#include <algorithm>
#include <cstdint>

namespace fenwright::ui {
namespace {

std::int64_t Outside(int first, int last, int lowest, int highest) {
  if (last < lowest) return std::int64_t{lowest} - last;
  return first > highest ? std::int64_t{first} - highest : 0;
}

std::int64_t Distance(const QRect& title, const QRect& screen) {
  return Outside(title.left(), title.right(), screen.left(), screen.right()) +
         Outside(title.top(), title.bottom(), screen.top(), screen.bottom());
}

/// No more than all screens together: a window may span them.
QSize UsableSize(const QSize& wanted, const QList<QRect>& screens) {
  QRect all;
  for (const QRect& screen : screens) all = all.united(screen);
  return wanted.expandedTo({1, 1}).boundedTo(all.size());
}

QRect MovedOnto(const QRect& window, const QRect& screen) {
  const QSize size = window.size().boundedTo(screen.size());
  const int left = std::clamp(window.left(), screen.left(), screen.right() + 1 - size.width());
  const int top = std::clamp(window.top(), screen.top(), screen.bottom() + 1 - size.height());
  return {QPoint(left, top), size};
}

}  // namespace

QRect ReachablePlace(const QRect& wanted, const QList<QRect>& screens, int title_height) {
  if (screens.isEmpty()) return wanted;
  const QRect window(wanted.topLeft(), UsableSize(wanted.size(), screens));
  const QRect title(window.topLeft(), QSize(window.width(), title_height));
  const auto on_it = [&](const QRect& screen) { return screen.intersects(title); };
  if (std::ranges::any_of(screens, on_it)) return window;
  const auto nearest = std::ranges::min_element(
      screens, {}, [&](const QRect& screen) { return Distance(title, screen); });
  return MovedOnto(window, *nearest);
}

}  // namespace fenwright::ui
