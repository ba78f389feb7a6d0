#pragma once

#include "board/board_state.h"
#include "fuzz/require.h"

namespace fenwright::fuzz {

inline void RequireSameChips(const board::Chip& chip, const board::Chip& other) {
  for (std::uint32_t word = 0; word < chip.Model().FlashWords; ++word) {
    Require(chip.WrittenFlashWord(word) == other.WrittenFlashWord(word), "the flash is kept");
  }
  for (std::uint32_t address = 0; address < chip.Model().EepromBytes; ++address) {
    Require(chip.WrittenEepromByte(address) == other.WrittenEepromByte(address),
            "the EEPROM is kept");
  }
  Require(chip.FuseLow() == other.FuseLow() && chip.FuseHigh() == other.FuseHigh() &&
              chip.LockBits() == other.LockBits(),
          "fuses and lock bits are kept");
  Require(std::ranges::equal(chip.Calibration(), other.Calibration()),
          "the calibration bytes are kept");
}

/// What is kept of a board is all that another one needs to be the same.
inline void RequireKeepsItsState(const board::SimulatedBoard& board) {
  const std::string state = board::FormatState(board);
  board::SimulatedBoard other(board::SimulatedBoardOptions{});
  std::string error;
  Require(board::ParseState(state, other, error), "a board's state can be read");
  Require(board::FormatState(other) == state, "another board takes over the whole state");
  for (const auto& [name, chip] : board.Chips()) {
    if (chip.Model().Present) RequireSameChips(chip, other.ChipOf(chip.Model()));
  }
  Require(board.Protocol().Firmware() == other.Protocol().Firmware() &&
              board.Protocol().UpdateUnfinished() == other.Protocol().UpdateUnfinished() &&
              board.Protocol().SelectedDevice() == other.Protocol().SelectedDevice(),
          "the board's own firmware and its device are kept");
}

}  // namespace fenwright::fuzz
