#pragma once

#include <memory>

class QWidget;

namespace fenwright::ui {

/// The program's button in the taskbar, where the desktop lets a program show something on it.
class Taskbar {
 public:
  virtual ~Taskbar() = default;

  /// Shows how far the running command has come.
  virtual void ShowProgress(int percent) = 0;

  /// Shows that the last command has failed.
  virtual void ShowFailure() = 0;

  /// Takes away what is shown.
  virtual void Clear() = 0;
};

/// That of the desktop that the program runs on; null where it offers nothing. Nothing happens
/// before the first call. The window must outlive it.
std::unique_ptr<Taskbar> MakeTaskbar(QWidget& window);

}  // namespace fenwright::ui
