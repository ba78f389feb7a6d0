#pragma once

#include "screen/guide_form.h"
#include "ui/child_window.h"

namespace fenwright::ui {

class SocketDrawing;

/// `frmIndex`: the child window that shows where in the board's socket a chip goes, and marks the
/// place of the selected one.
class GuideWindow : public ChildWindow, public screen::GuideForm {
  Q_OBJECT

 public:
  GuideWindow();

  void SetIdle(screen::GuidePosition position) override;
  void SetHighlighted(screen::GuidePosition position) override;

  [[nodiscard]] SocketDrawing& Drawing() const { return *drawing_; }

 private:
  SocketDrawing* drawing_;
};

}  // namespace fenwright::ui
