// A simulated programmer board behind a pseudo terminal, for tests and for work without a board.

#include <exception>
#include <filesystem>
#include <iostream>
#include <span>
#include <sys/prctl.h>

#include "board/board_state.h"
#include "board_server.h"
#include "complain.h"
#include "fenwright-board/pseudo_terminal.h"
#include "options.h"

namespace fenwright::board_app {
namespace {

constexpr int kFailed = 1;

int Fail(const std::string& error, std::span<const std::string> words) {
  Complain(error, words);
  return kFailed;
}

/// Takes over the chips of an earlier run; the socket holds what the command line says.
bool Restore(const Options& options, board::SimulatedBoard& board, std::string& error) {
  std::error_code ignored;
  if (options.State.empty() || !std::filesystem::exists(options.State, ignored)) {
    return true;
  }
  return board::LoadState(options.State, board, error) && board.InsertChip(options.Board.Chip);
}

int Main(int argc, const char* const* argv) {
  int exit_code = 0;
  const auto options = ReadOptions(argc, argv, exit_code);
  if (!options) {
    return exit_code;
  }
  board::SimulatedBoard board(options->Board);
  PseudoTerminal terminal;
  TerminalLink link;
  std::string error;
  if (!Restore(*options, board, error) || !terminal.Open(error)) {
    return Fail(error, options->Words);
  }
  CatchEndSignals();
  if (!options->Link.empty() && !link.Make(options->Link, terminal.Path(), error)) {
    return Fail(error, options->Words);
  }
  // The default slack of 50 us would be a third of a byte time at 57,600 baud.
  prctl(PR_SET_TIMERSLACK, 1000UL);
  BoardServer server(*options, board, terminal.Master());
  if (!server.Start()) {
    return kFailed;
  }
  std::cout << terminal.Path() << std::endl;
  return server.Run() ? 0 : kFailed;
}

}  // namespace
}  // namespace fenwright::board_app

int main(int argc, char** argv) try {
  return fenwright::board_app::Main(argc, argv);
} catch (const std::exception& error) {
  // Out of memory, say; nothing of the program's own throws this far.
  return fenwright::board_app::Fail(error.what(), {});
}
