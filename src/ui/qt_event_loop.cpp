#include "ui/qt_event_loop.h"

#include <QCoreApplication>

namespace fenwright::ui {

void QtEventLoop::ProcessPendingEvents() {
  if (!stopped_) QCoreApplication::processEvents();
}

}  // namespace fenwright::ui
