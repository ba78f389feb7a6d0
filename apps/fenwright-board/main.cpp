// A simulated programmer board behind a pseudo terminal, or a recorded one, for tests and for work
// without a board.

#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <span>
#include <sys/prctl.h>
#include <utility>

#include "board/board_state.h"
#include "board/line_record.h"
#include "board/recorded_board.h"
#include "board_files.h"
#include "board_server.h"
#include "complain.h"
#include "fenwright-board/pseudo_terminal.h"
#include "options.h"
#include "platform/system/text_files.h"

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

/// What a board has to do beside its talk.
struct Hooks {
  std::function<void()> OnReceived;  ///< each time bytes have come
  std::function<bool()> OnEnd;       ///< when it was served; false: something went wrong
};

/// Serves the line on a terminal until it ends. False when something went wrong, which is on the
/// standard error output then.
bool Serve(const Options& options, board::LineEnd& line, const Hooks& hooks) {
  PseudoTerminal terminal;
  TerminalLink link;
  std::string error;
  if (!terminal.Open(error)) {
    Complain(error, options.Words);
    return false;
  }
  CatchEndSignals();
  if (!options.Link.empty() && !link.Make(options.Link, terminal.Path(), error)) {
    Complain(error, options.Words);
    return false;
  }
  // The default slack of 50 us would be a third of a byte time at 57,600 baud.
  prctl(PR_SET_TIMERSLACK, 1000UL);
  BoardServer server(options, line, terminal);
  server.OnReceived = hooks.OnReceived;
  if (!server.Start()) {
    return false;
  }
  std::cout << terminal.Path() << std::endl;
  const bool served = server.Run();
  return (!hooks.OnEnd || hooks.OnEnd()) && served;
}

int Simulate(const Options& options) {
  board::SimulatedBoard board(options.Board);
  std::string error;
  if (!Restore(options, board, error)) {
    return Fail(error, options.Words);
  }
  BoardFiles files(options, board);
  const bool served = Serve(options, board,
                            {.OnReceived = [&files] { files.SaveAfterLeaving(); },
                             .OnEnd = [&files] { return files.Save(); }});
  return served ? 0 : kFailed;
}

int Replay(const Options& options) {
  platform::SystemTextFiles files;
  std::string text;
  if (const auto result = files.Read(options.Replay, text); !result) {
    return Fail(options.Replay + ": cannot be read: " + result.Reason, options.Words);
  }
  std::string error;
  auto record = board::ParseLineRecord(text, error);
  if (!record) {
    return Fail(options.Replay + ": " + error, options.Words);
  }
  board::RecordedBoard board(std::move(*record), options.Board.Baud, options.Board.Latency);
  const bool served = Serve(options, board, {});
  if (!board.IsPlayed()) {
    return Fail(options.Replay + ": " + board.WhyNotPlayed(), options.Words);
  }
  std::cout << "all " << board.Size() << " exchanges were played" << std::endl;
  return served ? 0 : kFailed;
}

int Main(int argc, const char* const* argv) {
  int exit_code = 0;
  const auto options = ReadOptions(argc, argv, exit_code);
  if (!options) {
    return exit_code;
  }
  return options->Replay.empty() ? Simulate(*options) : Replay(*options);
}

}  // namespace
}  // namespace fenwright::board_app

int main(int argc, char** argv) try {
  return fenwright::board_app::Main(argc, argv);
} catch (const std::exception& error) {
  // Out of memory, say; nothing of the program's own throws this far.
  return fenwright::board_app::Fail(error.what(), {});
}
