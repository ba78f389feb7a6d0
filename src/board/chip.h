#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "board/chip_models.h"

namespace fenwright::board {

/// One serial programming instruction: four bytes shifted into the chip.
using Instruction = std::array<std::uint8_t, 4>;

/// A memory cell that always reads the same. `Address` is a word address (bit 0 to 15) in flash
/// and a byte address (bit 0 to 7) in the EEPROM.
struct StuckBit {
  enum class Memory { Flash, Eeprom };
  Memory Where = Memory::Flash;
  std::uint32_t Address = 0;
  unsigned Bit = 0;
  bool Value = false;
};

/// A chip in the socket, as its serial programming instructions see it.
///
/// - Flash writes only clear bits; EEPROM writes erase their byte first; chip erase sets flash,
///   EEPROM and lock bits to 1. An ATtiny26L with EESAVE programmed keeps its EEPROM.
/// - Any programmed lock bit makes flash, EEPROM and fuse writes ineffective; with both programmed
///   the signature reads 00 01 02, and flash and EEPROM read the low byte of their address.
/// - A chip whose RSTDISBL fuse is programmed no longer enters programming mode; the session in
///   which the fuse was written goes on.
/// - Outside programming mode, beyond a memory and for unknown instructions 0xFF is read.
class Chip {
 public:
  /// A factory-fresh chip. `model` must outlive the chip (rows of ChipModels() do).
  explicit Chip(const ChipModel& model);

  [[nodiscard]] const ChipModel& Model() const { return *model_; }

  /// Reset pulled low and "programming enable" sent. False when the chip does not answer.
  bool EnterProgramming();
  void LeaveProgramming();

  /// Executes one instruction; gives the byte that the chip shifts out with the fourth byte.
  std::uint8_t Execute(const Instruction& instruction);

  /// What the cells hold, stuck bits included; 0xFFFF and 0xFF beyond the memory.
  [[nodiscard]] std::uint16_t FlashWord(std::uint32_t word) const;
  [[nodiscard]] std::uint8_t EepromByte(std::uint32_t address) const;

  /// What the cells were written with, whatever their stuck bits show.
  [[nodiscard]] std::uint16_t WrittenFlashWord(std::uint32_t word) const { return flash_.at(word); }
  [[nodiscard]] std::uint8_t WrittenEepromByte(std::uint32_t address) const {
    return eeprom_.at(address);
  }

  /// Sets cells from outside, whatever the lock bits. Addresses beyond the memory are ignored.
  void SetFlashWord(std::uint32_t word, std::uint16_t value);
  void SetEepromByte(std::uint32_t address, std::uint8_t value);

  [[nodiscard]] std::uint8_t FuseLow() const { return fuse_low_; }
  [[nodiscard]] std::uint8_t FuseHigh() const { return fuse_high_; }
  /// Sets fuse bytes from outside; bits that do not exist on the part stay as they are.
  void SetFuses(std::uint8_t low, std::uint8_t high);

  /// Bit 1 = LB2, bit 0 = LB1: 3 = open, 2 = no writing, 0 = no writing and no reading.
  [[nodiscard]] unsigned LockBits() const { return lock_bits_; }
  void SetLockBits(unsigned bits);

  [[nodiscard]] const std::array<std::uint8_t, 4>& Calibration() const { return calibration_; }
  /// A chip with one calibration byte uses the first value for all four.
  void SetCalibration(const std::array<std::uint8_t, 4>& values);

  void AddStuckBit(const StuckBit& bit) { stuck_bits_.push_back(bit); }

  /// Flash as in a HEX file (low byte of each word first), then the EEPROM: 2 x FlashWords +
  /// EepromBytes bytes.
  [[nodiscard]] std::vector<std::uint8_t> BinaryImage() const;

 private:
  std::uint8_t ReadContent(const Instruction& instruction) const;
  std::uint8_t ReadSignature(unsigned address) const;
  std::uint8_t ReadCalibration(unsigned address) const;
  std::uint8_t ReadFlash(std::uint32_t word, bool high) const;
  std::uint8_t ReadEeprom(std::uint32_t address) const;
  std::uint8_t ReadLock() const;
  std::uint8_t ReadFuses() const;
  void WriteSystem(const Instruction& instruction);
  void WriteLock(const Instruction& instruction);
  void WriteFuses(const Instruction& instruction);
  void WriteFlash(std::uint32_t word, std::uint8_t value, bool high);
  void WritePage(std::uint32_t word);
  void WriteEeprom(std::uint32_t address, std::uint8_t value);
  void Erase();
  [[nodiscard]] bool WritesLocked() const { return lock_bits_ != 3; }
  [[nodiscard]] bool ReadsLocked() const { return lock_bits_ == 0; }
  [[nodiscard]] bool ResetDisabled() const;

  const ChipModel* model_;
  std::vector<std::uint16_t> flash_;
  std::vector<std::uint8_t> eeprom_;
  std::vector<std::uint16_t> page_;
  std::vector<StuckBit> stuck_bits_;
  std::array<std::uint8_t, 4> calibration_;
  std::uint8_t fuse_low_;
  std::uint8_t fuse_high_;
  unsigned lock_bits_ = 3;
  bool programming_ = false;
};

}  // namespace fenwright::board
