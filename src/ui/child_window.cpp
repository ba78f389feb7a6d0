#include "ui/child_window.h"

#include <QCloseEvent>

#include "ui/controls.h"
#include "ui/icons.h"

namespace fenwright::ui {
namespace {

bool IsTabStop(const QWidget& widget) {
  return (widget.focusPolicy() & Qt::TabFocus) != 0 && widget.isEnabled() && widget.isVisible();
}

}  // namespace

ChildWindow::ChildWindow(const QString& name, const QString& accessible_name,
                         const QString& caption) {
  Name(this, name, accessible_name);
  setWindowTitle(caption);
  setWindowIcon(ChipIcon());
  setAttribute(Qt::WA_DeleteOnClose, false);
  setFocusPolicy(Qt::ClickFocus);
}

void ChildWindow::SetTabStop(bool tab_stop) {
  widget()->setFocusPolicy(tab_stop ? Qt::StrongFocus : Qt::ClickFocus);
}

bool ChildWindow::event(QEvent* event) {
  const bool placed = event->type() == QEvent::Move || event->type() == QEvent::Resize;
  if (placed && !isMinimized() && !isMaximized() && !isShaded()) normal_place_ = geometry();
  return QMdiSubWindow::event(event);
}

void ChildWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  hide();
  emit Closed();
}

bool ChildWindow::focusNextPrevChild(bool next) {
  const auto step = [next](const QWidget& from) {
    return next ? from.nextInFocusChain() : from.previousInFocusChain();
  };
  for (QWidget* other = step(*widget()); other != widget(); other = step(*other)) {
    if (other->window() != window() || isAncestorOf(other) || !IsTabStop(*other)) continue;
    other->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
  }
  return false;
}

}  // namespace fenwright::ui
