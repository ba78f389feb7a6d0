#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fenwright::board {

/// How a chip's own serial instructions reach its fuse bits.
enum class FuseAccess {
  None,        ///< out of reach of serial programming
  SecondByte,  ///< written in the second instruction byte (AC value): AT90S
  FourthByte,  ///< written in the fourth instruction byte (AC A0 00 value): ATtiny12, ATtiny15
  LowAndHigh,  ///< as FourthByte, with a high byte beside it (AC A8 00 value): ATtiny26
};

/// Where the lock bits stand in the byte that "read lock bits" (58 00 00) gives, and how they are
/// written. LB1 is the bit that forbids writing, LB2 the one that also forbids verifying.
enum class LockAccess {
  None,           ///< no lock bits in reach
  WriteOnly,      ///< written in the second byte, bits 2..1; cannot be read serially
  Bits2To1,       ///< written and read at bits 2..1 (LB2, LB1)
  Bits7To6,       ///< written at bits 2..1; read as bit 7 = LB1, bit 6 = LB2, with the fuses below
  FourthBits1To0  ///< written in the fourth byte; written and read at bits 1..0 (LB2, LB1)
};

/// Times that a part needs after an instruction, at 5 V (data sheet values).
struct ChipTimes {
  std::chrono::microseconds Erase{};
  std::chrono::microseconds FlashWrite{};  ///< one byte; one page on a part with page writing
  std::chrono::microseconds EepromWrite{};
  std::chrono::microseconds FuseWrite{};  ///< fuse and lock bits
};

/// One kind of chip that can sit in the socket. Data sheet facts; nothing here is board behaviour
/// except the device code.
struct ChipModel {
  std::string_view Name;                   ///< UTF-8, the display name of the device selector
  std::optional<std::uint8_t> DeviceCode;  ///< the code of command T; none: not programmable here
  std::array<std::uint8_t, 3> Signature;   ///< vendor, family, part: chip addresses 0, 1, 2
  std::string_view WriteCommands{};        ///< the board's own write commands that fit the chip
  std::uint32_t FlashWords = 0;
  std::uint32_t EepromBytes = 0;
  std::uint32_t PageWords = 0;  ///< flash page in words; 0: flash is written byte by byte
  FuseAccess Fuses = FuseAccess::None;
  std::uint8_t FuseLow = 0xFF;        ///< as delivered; bits that do not exist read as given here
  std::uint8_t FuseLowMask = 0;       ///< bits that serial programming can change
  std::uint8_t FuseHigh = 0xFF;       ///< as delivered
  std::uint8_t FuseHighMask = 0;      ///< bits that serial programming can change
  std::uint8_t ResetDisableLow = 0;   ///< RSTDISBL in the low byte, 0: not there
  std::uint8_t ResetDisableHigh = 0;  ///< RSTDISBL in the high byte, 0: not there
  std::uint8_t EepromSaveHigh = 0;    ///< EESAVE in the high byte, 0: not there
  LockAccess Lock = LockAccess::None;
  unsigned CalibrationCount = 0;  ///< calibration bytes: 0, 1 or 4
  std::array<std::uint8_t, 4> Calibration{0xFF, 0xFF, 0xFF, 0xFF};  ///< of a typical part
  ChipTimes Times{};
  bool Present = true;  ///< false: the empty socket
};

/// The programmable chips in the selector's order, then "ATtiny11L" (recognised in the
/// socket, not programmable) and "empty" (no chip in the socket).
std::span<const ChipModel> ChipModels();

/// Finds a model by its exact name, else by the text before the name's first blank or "(", else by
/// a part of the name that occurs in one model only. Null when unknown or ambiguous.
const ChipModel* FindChip(std::string_view name);

/// The model that command T selects with `code`; the first one when two share it. Null: unknown.
const ChipModel* FindChipByCode(std::uint8_t code);

/// All names, one a line, for messages.
std::string ListChipNames();

}  // namespace fenwright::board
