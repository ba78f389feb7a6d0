#pragma once

#include <QMdiSubWindow>
#include <QRect>

namespace fenwright::ui {

/// A child window of the main window. Closing it hides it: it is never deleted under an operation
/// that is about to show something in it.
///
/// Tab leaves it, forwards and backwards, for the controls of the main window around it; Qt's own
/// child windows keep the focus for themselves.
class ChildWindow : public QMdiSubWindow {
  Q_OBJECT

 public:
  ChildWindow(const QString& name, const QString& accessible_name, const QString& caption);

  /// Whether Tab comes by here: only through the active child window.
  void SetTabStop(bool tab_stop);

  /// Where it stands or, while it is minimised or maximised, where it stood before. Known once it
  /// has been shown.
  [[nodiscard]] QRect NormalPlace() const { return normal_place_; }

 signals:
  /// It has gone from the screen.
  void Closed();

 protected:
  bool event(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool focusNextPrevChild(bool next) override;

 private:
  QRect normal_place_;
};

}  // namespace fenwright::ui
