#pragma once

#include <QList>
#include <QRect>

namespace fenwright::ui {

/// Where a window is shown that was told to be at `wanted`. It stays there as long as something of
/// its title, the uppermost `title_height` pixels, lies on one of `screens`; otherwise it is moved
/// to the nearest of them. A size that no arrangement of screens has, or none at all, is made one
/// that can be used. Without screens nothing is changed.
QRect ReachablePlace(const QRect& wanted, const QList<QRect>& screens, int title_height);

}  // namespace fenwright::ui
