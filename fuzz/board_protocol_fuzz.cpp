// The simulated board under every sequence of bytes, at every pace and with every fault: it goes on
// living, and its state can be kept and taken over.

#include <chrono>
#include <string>
#include <vector>

#include "board/chip_models.h"
#include "fuzz/input.h"
#include "fuzz/same_boards.h"

namespace fenwright::fuzz {
namespace {

using board::SimulatedBoard;
using std::chrono::nanoseconds;

std::vector<board::Fault> FaultsFrom(Input& input) {
  constexpr std::array kForms{
      "silent",    "silent@3",    "drop@2", "late@2:0.5",        "split@3:1",
      "double@2",  "flip@2:FF:1", "lie@1",  "stuck@flash:0:3=0", "stuck@eeprom:1:7=1",
      "hangup@40", "powercut@9"};
  std::vector<board::Fault> faults;
  // Most runs have none.
  for (int count = input.Byte() / 0x60; count > 0; --count) {
    std::string error;
    const auto fault = board::ParseFault(input.OneOf(kForms), error);
    Require(fault.has_value(), "the forms of the help can be read");
    faults.push_back(*fault);
  }
  return faults;
}

void Try(Input input) {
  board::SimulatedBoardOptions options;
  options.Chip = input.OneOf(board::ChipModels()).Name;
  options.Baud = input.Byte() % 2 == 0 ? 0 : 57600;
  options.Board.Times = input.Byte() % 2 == 0 ? board::Timing::None : board::Timing::DataSheet;
  options.Faults = FaultsFrom(input);
  SimulatedBoard board(std::move(options));
  nanoseconds now{};
  std::size_t sent = 0;
  std::size_t received = 0;
  while (!input.Empty()) {
    // A stretch of bytes, and a pause of up to a quarter of a second behind it.
    for (int count = 1 + input.Byte() % 8; count > 0; --count, ++sent) {
      const std::uint8_t byte = input.Byte();
      board.Receive({&byte, 1}, now);
    }
    now += std::chrono::milliseconds(input.Byte());
    received += board.TakeDue(now).size();
  }
  // The version line is the longest answer, and a fault can double it.
  Require(received <= 40 * sent, "no command is answered without an end");
  const auto due = board.NextDue();
  Require(!due || *due >= now || board.HungUp(), "what was due has been taken");
  RequireKeepsItsState(board);
  if (board.HungUp()) board.PlugIn();
  board.Protocol().Restart();
  Require(!board.Protocol().InProgrammingMode(), "after power-on no chip is held");
}

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fenwright::fuzz::Try(fenwright::fuzz::Input(data, size));
  return 0;
}
