#pragma once

#include <functional>

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include "core/app_state.h"

namespace fenwright::ui {

class MainWindow;

/// Ends the run for somebody who can answer no question: a signal, or the end of the session. The
/// running command is stopped as a requested stop does it, dialogs and boxes that wait for an
/// answer are closed as by Esc, and once the stack has unwound the window closes in its usual
/// order.
///
/// The system ends an application by the application's quit event, which is taken here as long as
/// the window is there: that event would otherwise close the window like a user does, and ask.
class UnaskedEnd final : public QObject {
  Q_OBJECT

 public:
  /// `leave` leaves the event loop; it is called when the window has closed. All must outlive this.
  UnaskedEnd(MainWindow& window, const core::AppState& state, std::function<void()> leave);

  /// Returns at once. Further calls do nothing.
  void Begin();

  /// Begins as soon as this descriptor can be read from; -1 = never.
  void BeginOn(int descriptor);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void GoOn();

  MainWindow& window_;
  const core::AppState& state_;
  const std::function<void()> leave_;
  bool closed_ = false;
  QTimer timer_;
  QSocketNotifier call_;
};

}  // namespace fenwright::ui
