#pragma once

#include <string>
#include <string_view>

#include "board/simulated_board.h"

namespace fenwright::board {

/// The state that outlives a run, as lines of text: the chip in the socket, the selected device,
/// every used chip (fuses, lock bits, calibration bytes, the memory rows that are not blank)
/// the words of the board's own firmware, and whether its last update was finished.
std::string FormatState(const SimulatedBoard& board);

/// Reads a text of FormatState() into a board. False on a bad text: `error` then names the line,
/// and the board may hold the part before it.
bool ParseState(std::string_view text, SimulatedBoard& board, std::string& error);

/// Reads a state file. A missing file is an error like any other. False: `error` says why.
bool LoadState(const std::string& path, SimulatedBoard& board, std::string& error);

}  // namespace fenwright::board
