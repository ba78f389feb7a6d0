#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "board/simulated_board.h"

namespace fenwright::board_app {

/// What the command line asks for.
struct Options {
  board::SimulatedBoardOptions Board;
  std::vector<std::string> Words;  ///< the whole command line, for what is printed of it
  std::string Link;                ///< symbolic link to the terminal, "" for none
  std::string State;               ///< file with the board's state, "" for none
  std::string Dump;                ///< file for the chip's memories, "" for none
  std::string Log;                 ///< file for the bytes on the line, "" for none
  std::string Replay;              ///< such a file to play, "" for a simulated board
};

/// Reads the command line. Nothing when the program is to end with `exit_code`: help was asked
/// for (0), or the command line is wrong (2, the reason is on the standard error output).
std::optional<Options> ReadOptions(int argc, const char* const* argv, int& exit_code);

/// Hands over the command line by itself, for what is made of it: the man page.
void WithCommandLine(const std::function<void(const CLI::App&)>& use);

}  // namespace fenwright::board_app
