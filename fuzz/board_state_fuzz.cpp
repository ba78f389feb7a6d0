// State files of the simulated board, however they have been edited: each is taken or refused with
// a reason, and what was taken is kept as it is from then on.

#include "fuzz/input.h"
#include "fuzz/same_boards.h"

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
  RequireKeepsItsState(board);
}

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fenwright::fuzz::Try(fenwright::fuzz::TextOf({data, size}));
  return 0;
}
