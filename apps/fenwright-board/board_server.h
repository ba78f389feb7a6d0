#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <span>

#include "board/simulated_board.h"
#include "options.h"

namespace fenwright::board_app {

/// Catches SIGTERM, SIGINT and SIGHUP: they end BoardServer::Run(). Call it once, before Run().
void CatchEndSignals();

/// Serves a simulated board on a terminal's descriptor in real time.
class BoardServer {
 public:
  /// `board` must outlive the server; `terminal` reads and writes blocking.
  BoardServer(const Options& options, board::SimulatedBoard& board, int terminal);

  /// Opens the log. False: the reason is on the standard error output.
  bool Start();

  /// Serves until an end signal or a hang-up; then saves. False when something could not be read,
  /// written or saved: the reason is on the standard error output.
  bool Run();

 private:
  void Serve();
  void WaitFor(std::chrono::nanoseconds due);
  void ReadBytes();
  void SendDue(std::chrono::nanoseconds now);
  void WriteAll(std::span<const std::uint8_t> bytes);
  void Log(char direction, std::span<const std::uint8_t> bytes);
  bool Save();

  const Options& options_;
  board::SimulatedBoard& board_;
  int terminal_;
  std::ofstream log_;
  unsigned saved_leave_count_ = 0;
  bool failed_ = false;
};

}  // namespace fenwright::board_app
