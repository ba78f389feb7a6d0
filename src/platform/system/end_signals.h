#pragma once

namespace fenwright::platform {

/// The signals that ask a window program to end: SIGTERM, SIGHUP and SIGINT. While the object lives
/// they are noted instead of ending the process, so that it can end in its usual order. There is at
/// most one such object at a time.
///
/// - A signal that the caller has the program ignore (nohup, a background job) stays ignored.
/// - A further signal ends the process at once, for whoever has lost patience. The end of a session
///   sends several of them in a row: what comes within a second of the first one belongs to it.
/// - Windows has no such signals for a program without a console: nothing is ever noted there. The
///   end of the session comes through the window system.
class EndSignals {
 public:
  EndSignals();
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  /// A descriptor that can be read from as soon as a signal has come; nobody is to read it. -1
  /// where none ever comes.
  [[nodiscard]] int Descriptor() const { return descriptor_; }

  /// The number of the first signal that has come, 0 for none.
  [[nodiscard]] int Received() const;

 private:
  int descriptor_ = -1;
};

}  // namespace fenwright::platform
