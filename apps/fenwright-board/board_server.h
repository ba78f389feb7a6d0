#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <span>

#include "board/line_end.h"
#include "fenwright-board/pseudo_terminal.h"
#include "options.h"

namespace fenwright::board_app {

/// Catches SIGTERM, SIGINT and SIGHUP: they end BoardServer::Run(). Call it once, before Run().
void CatchEndSignals();

/// Serves the board's end of a line on a terminal in real time.
class BoardServer {
 public:
  /// `line` and `terminal` must outlive the server.
  BoardServer(const Options& options, board::LineEnd& line, PseudoTerminal& terminal);

  /// Told each time bytes have come. May be empty.
  std::function<void()> OnReceived;

  /// Opens the log. False: the reason is on the standard error output.
  bool Start();

  /// Serves until an end signal, a hang-up, or the PC's closing of a line that ends with that.
  /// False when something could not be read or written: the reason is on the standard error output.
  bool Run();

 private:
  void Serve();
  void WaitFor(std::chrono::nanoseconds due);
  void ReadBytes();
  void SendDue(std::chrono::nanoseconds due, std::chrono::nanoseconds now);
  void WriteAll(std::span<const std::uint8_t> bytes);
  void Log(const std::string& lines);

  const Options& options_;
  board::LineEnd& line_;
  PseudoTerminal& terminal_;
  std::ofstream log_;
  std::chrono::nanoseconds last_logged_{};
  bool closed_ = false;
  bool failed_ = false;
};

}  // namespace fenwright::board_app
