#pragma once

#include "platform/event_loop.h"

namespace fenwright::ui {

/// Runs the pending events of the window system and of the program's own timers, until it is told
/// that there is no window system any more.
class QtEventLoop final : public platform::EventLoop {
 public:
  void ProcessPendingEvents() override;

  /// From now on no event runs.
  void Stop() { stopped_ = true; }

 private:
  bool stopped_ = false;
};

}  // namespace fenwright::ui
