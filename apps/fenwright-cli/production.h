#pragma once

#include <atomic>
#include <mutex>

#include "job_run.h"

namespace fenwright::cli {

/// The Enter key, for boards that wait for it: each of them gets every stroke.
class EnterKey {
 public:
  enum class Event { Pressed, Ended, Nothing };

  /// The strokes so far. What was typed before, while the chip in the socket was at work, is not
  /// meant for the next one; what comes from a file or a pipe is.
  void Forget(int& seen);

  /// Waits a moment for a stroke beyond the `seen` ones, which grow by it.
  Event Wait(int& seen);

 private:
  std::mutex mutex_;
  std::atomic<int> strokes_ = 0;
  std::atomic<bool> ended_ = false;
};

/// Chip after chip on one board.
struct Production {
  JobOrder Order;
  EnterKey* Key = nullptr;  ///< begins each chip; null: it begins when it is in the socket
};

/// Runs the job with each chip that is put into the socket, until Ctrl-C, which lets the chip under
/// way come to its end. A chip that fails, and a board that is pulled, do not end it. At the end
/// the tally is printed; Failed when not every chip was good.
Outcome Produce(Session& session, const Production& production);

}  // namespace fenwright::cli
