// State files of the simulated board, however they have been edited: each is taken or refused with
// a reason, and what was taken is kept as it is from then on.

#include "board/board_state.h"
#include "fuzz/input.h"
#include "fuzz/require.h"

namespace fenwright::fuzz {
namespace {

void Try(const std::string& text) {
  board::SimulatedBoard board(board::SimulatedBoardOptions{});
  std::string error;
  if (!board::ParseState(text, board, error)) {
    Require(!error.empty(), "a refusal has its reason");
    return;
  }
  Require(error.empty(), "what is taken has no error");
  const std::string state = board::FormatState(board);
  board::SimulatedBoard other(board::SimulatedBoardOptions{});
  Require(board::ParseState(state, other, error), "a board's state can be read");
  Require(board::FormatState(other) == state, "a state that was kept is the same when read again");
}

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fenwright::fuzz::Try(fenwright::fuzz::TextOf({data, size}));
  return 0;
}
