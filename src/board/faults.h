#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/chip.h"

namespace fenwright::board {

/// One thing that goes wrong. Replies are what one command answers, counted from 1 from the start
/// of the board; writes are the commands c C W D f u l and ; that reach the chip, counted alike.
///
///     silent                      no reply at all
///     silent@N                    no reply from the N-th on
///     drop@N                      the N-th reply is lost
///     late@N:MS                   the N-th reply comes MS milliseconds later
///     split@N:MS                  the second half of the N-th reply comes MS milliseconds later
///                                 (the first half is the longer one; one byte is not split)
///     double@N                    the N-th reply comes twice
///     flip@N[:HEXMASK[:BYTE]]     byte BYTE (1) of the N-th reply is XORed with HEXMASK (01)
///     lie@N                       the N-th write is acknowledged and not carried out
///     stuck@flash:ADDR:BIT=V      bit BIT (0-15) of flash word ADDR always reads V (0 or 1)
///     stuck@eeprom:ADDR:BIT=V     bit BIT (0-7) of EEPROM byte ADDR always reads V (0 or 1)
///     hangup@N                    the line hangs up when the N-th byte has arrived
///     powercut@N                  the board's power fails for a moment when the N-th byte arrives;
///                                 that byte is lost
///
/// N and BYTE count from 1. N, BYTE, MS and BIT are decimal, ADDR is decimal or, with 0x,
/// hexadecimal; MS may have decimals.
struct Fault {
  enum class Kind { Silent, Drop, Late, Split, Double, Flip, Lie, Stuck, HangUp, PowerCut };
  Kind What = Kind::Silent;
  std::uint32_t Number = 1;  ///< N
  std::chrono::nanoseconds Delay{};
  std::uint8_t Mask = 0x01;
  std::uint32_t Byte = 1;
  StuckBit Bit;
};

/// Reads one fault as written above. Nothing on a bad one; `error` then names it and all forms.
std::optional<Fault> ParseFault(std::string_view form, std::string& error);

/// The forms of ParseFault(), one a line with what each does, for help texts.
std::string FaultForms();

/// A piece of a reply and how long after the piece before it (or after the command) it is sent.
struct ReplyPart {
  std::chrono::nanoseconds Delay{};
  std::vector<std::uint8_t> Bytes;
};

/// Applies a list of faults to what a board does. Several faults may hit the same reply.
class FaultInjector {
 public:
  explicit FaultInjector(std::vector<Fault> faults) : faults_(std::move(faults)) {}

  /// Counts a reply and gives what becomes of it; empty: nothing is sent.
  std::vector<ReplyPart> Reply(std::vector<std::uint8_t> bytes);

  /// Replies counted so far.
  [[nodiscard]] std::uint32_t Replies() const { return replies_; }

  /// Counts a write; false when it is to be a lie.
  bool CarriesOutWrite();

  /// Gives the stuck bits to a chip.
  void DamageChip(Chip& chip) const;

  /// True when the line hangs up with the `received`-th byte.
  [[nodiscard]] bool HangsUpAt(std::uint32_t received) const;

  /// True when the board's power fails with the `received`-th byte.
  [[nodiscard]] bool LosesPowerAt(std::uint32_t received) const;

 private:
  [[nodiscard]] bool HasFaultAt(Fault::Kind what, std::uint32_t received) const;

  std::vector<Fault> faults_;
  std::uint32_t replies_ = 0;
  std::uint32_t writes_ = 0;
};

}  // namespace fenwright::board
