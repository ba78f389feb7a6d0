#pragma once

#include "platform/event_loop.h"

namespace fenwright::ui {

/// Runs the pending events of the window system and of the program's own timers.
class QtEventLoop final : public platform::EventLoop {
 public:
  void ProcessPendingEvents() override;
};

}  // namespace fenwright::ui
