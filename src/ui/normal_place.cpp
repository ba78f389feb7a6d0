#include "ui/normal_place.h"

#include <QEvent>
#include <QMdiSubWindow>

namespace fenwright::ui {

NormalPlace::NormalPlace(QMdiSubWindow& window) : window_(window), place_(window.geometry()) {
  window_.installEventFilter(this);
}

bool NormalPlace::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Move || event->type() == QEvent::Resize) Remember();
  return QObject::eventFilter(watched, event);
}

void NormalPlace::Remember() {
  const bool normal = !window_.isMinimized() && !window_.isMaximized() && !window_.isShaded();
  if (normal) place_ = window_.geometry();
}

}  // namespace fenwright::ui
