#include "ui/guide_window.h"

#include <QCloseEvent>

#include "ui/icons.h"
#include "ui/socket_drawing.h"

namespace fenwright::ui {

GuideWindow::GuideWindow() : drawing_(new SocketDrawing) {
  setObjectName("frmIndex");
  setWindowTitle("デバイスインデックス");
  setAccessibleName("デバイスの挿入位置");
  setWindowIcon(ChipIcon());
  setAttribute(Qt::WA_DeleteOnClose, false);
  setWidget(drawing_);
}

void GuideWindow::SetIdle(platform::GuidePosition position) {
  drawing_->SetHighlighted(position, false);
}

void GuideWindow::SetHighlighted(platform::GuidePosition position) {
  drawing_->SetHighlighted(position, true);
}

void GuideWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  hide();
}

}  // namespace fenwright::ui
