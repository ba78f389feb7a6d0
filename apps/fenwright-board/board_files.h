#pragma once

#include "board/simulated_board.h"
#include "options.h"

namespace fenwright::board_app {

/// The files that a simulated board is kept in: its state, and its chip's memories.
class BoardFiles {
 public:
  /// `board` must outlive the object.
  BoardFiles(const Options& options, board::SimulatedBoard& board)
      : options_(options), board_(board), saved_leave_count_(board.Protocol().LeaveCount()) {}

  /// Writes the files that the options name. False when one could not be written: the reason is on
  /// the standard error output.
  bool Save();

  /// The same when programming mode has been left since the last time.
  void SaveAfterLeaving();

 private:
  const Options& options_;
  board::SimulatedBoard& board_;
  unsigned saved_leave_count_;
};

}  // namespace fenwright::board_app
