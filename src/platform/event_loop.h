#pragma once

namespace fenwright::platform {

/// Lets pending events run: window events in the window, a pending Ctrl-C at the command line.
/// Any handler may run inside the call. It returns as soon as nothing is pending.
class EventLoop {
 public:
  virtual ~EventLoop() = default;
  virtual void ProcessPendingEvents() = 0;
};

}  // namespace fenwright::platform
