#include "ui/guide_window.h"

#include "ui/socket_drawing.h"

namespace fenwright::ui {

GuideWindow::GuideWindow()
    : ChildWindow("frmIndex", "デバイスの挿入位置", "デバイスインデックス"),
      drawing_(new SocketDrawing) {
  setWidget(drawing_);
}

void GuideWindow::SetIdle(screen::GuidePosition position) {
  drawing_->SetHighlighted(position, false);
}

void GuideWindow::SetHighlighted(screen::GuidePosition position) {
  drawing_->SetHighlighted(position, true);
}

}  // namespace fenwright::ui
