#include "ui/guide_window.h"

#include "ui/socket_drawing.h"

namespace fenwright::ui {

GuideWindow::GuideWindow()
    : ChildWindow("frmIndex", "デバイスの挿入位置", "デバイスインデックス"),
      drawing_(new SocketDrawing) {
  setWidget(drawing_);
}

void GuideWindow::SetIdle(platform::GuidePosition position) {
  drawing_->SetHighlighted(position, false);
}

void GuideWindow::SetHighlighted(platform::GuidePosition position) {
  drawing_->SetHighlighted(position, true);
}

}  // namespace fenwright::ui
