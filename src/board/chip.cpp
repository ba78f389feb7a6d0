#include "board/chip.h"

#include <algorithm>

namespace fenwright::board {
namespace {

constexpr unsigned kOpen = 3;

constexpr std::uint8_t Low(std::uint16_t word) { return static_cast<std::uint8_t>(word); }
constexpr std::uint8_t High(std::uint16_t word) { return static_cast<std::uint8_t>(word >> 8); }
constexpr std::uint16_t Word(std::uint8_t high, std::uint8_t low) {
  return static_cast<std::uint16_t>(high << 8 | low);
}

/// A byte value that leaves the other half of a word as it is when it is ANDed in.
constexpr std::uint16_t HalfWord(std::uint8_t value, bool high) {
  return high ? Word(value, 0xFF) : Word(0xFF, value);
}

constexpr std::uint8_t Merge(std::uint8_t old_value, std::uint8_t new_value, std::uint8_t mask) {
  return static_cast<std::uint8_t>((old_value & ~mask) | (new_value & mask));
}

constexpr bool Programmed(std::uint8_t fuses, std::uint8_t bit) {
  return bit != 0 && (fuses & bit) == 0;
}

template <typename Cell>
Cell WithStuckBit(Cell value, const StuckBit& stuck) {
  const auto mask = static_cast<Cell>(1U << stuck.Bit);
  return static_cast<Cell>(stuck.Value ? value | mask : value & ~mask);
}

}  // namespace

Chip::Chip(const ChipModel& model)
    : model_(&model),
      flash_(model.FlashWords, 0xFFFF),
      eeprom_(model.EepromBytes, 0xFF),
      page_(model.PageWords, 0xFFFF),
      calibration_(model.Calibration),
      fuse_low_(model.FuseLow),
      fuse_high_(model.FuseHigh) {}

bool Chip::EnterProgramming() {
  programming_ = model_->Present && !ResetDisabled();
  return programming_;
}

void Chip::LeaveProgramming() { programming_ = false; }

bool Chip::ResetDisabled() const {
  return Programmed(fuse_low_, model_->ResetDisableLow) ||
         Programmed(fuse_high_, model_->ResetDisableHigh);
}

std::uint8_t Chip::Execute(const Instruction& instruction) {
  if (!programming_) {
    return 0xFF;
  }
  const std::uint16_t address = Word(instruction[1], instruction[2]);
  switch (instruction[0]) {
    case 0xAC:
      WriteSystem(instruction);
      break;
    case 0x40:
      WriteFlash(address, instruction[3], false);
      break;
    case 0x48:
      WriteFlash(address, instruction[3], true);
      break;
    case 0x4C:
      WritePage(address);
      break;
    case 0xC0:
      WriteEeprom(address, instruction[3]);
      break;
    default:
      return ReadContent(instruction);
  }
  return 0xFF;
}

std::uint8_t Chip::ReadContent(const Instruction& instruction) const {
  const std::uint16_t address = Word(instruction[1], instruction[2]);
  const bool high_fuses = (instruction[1] & 0x08) != 0 && model_->Fuses == FuseAccess::LowAndHigh;
  switch (instruction[0]) {
    case 0x20:
      return ReadFlash(address, false);
    case 0x28:
      return ReadFlash(address, true);
    case 0xA0:
      return ReadEeprom(address);
    case 0x30:
      return ReadSignature(instruction[2] & 3U);
    case 0x38:
      return ReadCalibration(instruction[2] & 3U);
    case 0x50:
      return ReadFuses();
    case 0x58:
      return high_fuses ? fuse_high_ : ReadLock();
    default:
      return 0xFF;
  }
}

std::uint8_t Chip::ReadSignature(unsigned address) const {
  if (address >= model_->Signature.size()) {
    return 0xFF;
  }
  return ReadsLocked() ? static_cast<std::uint8_t>(address) : model_->Signature[address];
}

std::uint8_t Chip::ReadCalibration(unsigned address) const {
  return model_->CalibrationCount == 0 ? 0xFF : calibration_[address];
}

std::uint8_t Chip::ReadFlash(std::uint32_t word, bool high) const {
  if (ReadsLocked() && word < flash_.size()) {
    return static_cast<std::uint8_t>(word);
  }
  return high ? High(FlashWord(word)) : Low(FlashWord(word));
}

std::uint8_t Chip::ReadEeprom(std::uint32_t address) const {
  if (ReadsLocked() && address < eeprom_.size()) {
    return static_cast<std::uint8_t>(address);
  }
  return EepromByte(address);
}

std::uint8_t Chip::ReadLock() const {
  switch (model_->Lock) {
    case LockAccess::Bits2To1:
      return static_cast<std::uint8_t>(0xF9 | lock_bits_ << 1);
    case LockAccess::FourthBits1To0:
      return static_cast<std::uint8_t>(0xFC | lock_bits_);
    case LockAccess::Bits7To6:
      return static_cast<std::uint8_t>((lock_bits_ & 1) << 7 | (lock_bits_ >> 1) << 6 |
                                       (fuse_low_ & 0x3F));
    case LockAccess::None:
    case LockAccess::WriteOnly:
      break;
  }
  return 0xFF;
}

std::uint8_t Chip::ReadFuses() const {
  // Parts that give their fuses together with the lock bits have no instruction for fuses alone.
  const bool readable = model_->Fuses != FuseAccess::None && model_->Lock != LockAccess::Bits7To6;
  return readable ? fuse_low_ : 0xFF;
}

void Chip::WriteSystem(const Instruction& instruction) {
  switch (instruction[1] & 0xE0) {
    case 0x80:
      Erase();
      break;
    case 0xA0:
      WriteFuses(instruction);
      break;
    case 0xE0:
      WriteLock(instruction);
      break;
    default:
      break;
  }
}

void Chip::WriteLock(const Instruction& instruction) {
  switch (model_->Lock) {
    case LockAccess::WriteOnly:
    case LockAccess::Bits2To1:
    case LockAccess::Bits7To6:
      lock_bits_ &= instruction[1] >> 1 & 3U;
      break;
    case LockAccess::FourthBits1To0:
      lock_bits_ &= instruction[3] & 3U;
      break;
    case LockAccess::None:
      break;
  }
}

void Chip::WriteFuses(const Instruction& instruction) {
  if (WritesLocked()) {
    return;
  }
  switch (model_->Fuses) {
    case FuseAccess::SecondByte:
      fuse_low_ = Merge(fuse_low_, instruction[1], model_->FuseLowMask);
      break;
    case FuseAccess::FourthByte:
      fuse_low_ = Merge(fuse_low_, instruction[3], model_->FuseLowMask);
      break;
    case FuseAccess::LowAndHigh:
      if ((instruction[1] & 0x08) != 0) {
        fuse_high_ = Merge(fuse_high_, instruction[3], model_->FuseHighMask);
      } else {
        fuse_low_ = Merge(fuse_low_, instruction[3], model_->FuseLowMask);
      }
      break;
    case FuseAccess::None:
      break;
  }
}

void Chip::WriteFlash(std::uint32_t word, std::uint8_t value, bool high) {
  if (!page_.empty()) {
    std::uint16_t& cell = page_[word % page_.size()];
    cell = high ? Word(value, Low(cell)) : Word(High(cell), value);
    return;
  }
  if (!WritesLocked() && word < flash_.size()) {
    flash_[word] &= HalfWord(value, high);
  }
}

void Chip::WritePage(std::uint32_t word) {
  if (page_.empty()) {
    return;
  }
  const auto start = word - word % model_->PageWords;
  if (!WritesLocked() && start < flash_.size()) {
    for (std::uint32_t i = 0; i < model_->PageWords; ++i) {
      flash_[start + i] &= page_[i];
    }
  }
  std::fill(page_.begin(), page_.end(), std::uint16_t{0xFFFF});
}

void Chip::WriteEeprom(std::uint32_t address, std::uint8_t value) {
  if (!WritesLocked() && address < eeprom_.size()) {
    eeprom_[address] = value;
  }
}

void Chip::Erase() {
  std::fill(flash_.begin(), flash_.end(), std::uint16_t{0xFFFF});
  if (!Programmed(fuse_high_, model_->EepromSaveHigh)) {
    std::fill(eeprom_.begin(), eeprom_.end(), std::uint8_t{0xFF});
  }
  lock_bits_ = kOpen;
}

std::uint16_t Chip::FlashWord(std::uint32_t word) const {
  if (word >= flash_.size()) {
    return 0xFFFF;
  }
  std::uint16_t value = flash_[word];
  for (const StuckBit& stuck : stuck_bits_) {
    if (stuck.Where == StuckBit::Memory::Flash && stuck.Address == word) {
      value = WithStuckBit(value, stuck);
    }
  }
  return value;
}

std::uint8_t Chip::EepromByte(std::uint32_t address) const {
  if (address >= eeprom_.size()) {
    return 0xFF;
  }
  std::uint8_t value = eeprom_[address];
  for (const StuckBit& stuck : stuck_bits_) {
    if (stuck.Where == StuckBit::Memory::Eeprom && stuck.Address == address) {
      value = WithStuckBit(value, stuck);
    }
  }
  return value;
}

void Chip::SetFlashWord(std::uint32_t word, std::uint16_t value) {
  if (word < flash_.size()) {
    flash_[word] = value;
  }
}

void Chip::SetEepromByte(std::uint32_t address, std::uint8_t value) {
  if (address < eeprom_.size()) {
    eeprom_[address] = value;
  }
}

void Chip::SetFuses(std::uint8_t low, std::uint8_t high) {
  fuse_low_ = Merge(fuse_low_, low, model_->FuseLowMask);
  fuse_high_ = Merge(fuse_high_, high, model_->FuseHighMask);
}

void Chip::SetLockBits(unsigned bits) { lock_bits_ = bits & kOpen; }

void Chip::SetCalibration(const std::array<std::uint8_t, 4>& values) {
  if (model_->CalibrationCount == 0) {
    return;
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    calibration_[i] = values[i % model_->CalibrationCount];
  }
}

std::vector<std::uint8_t> Chip::BinaryImage() const {
  std::vector<std::uint8_t> image;
  image.reserve(2 * flash_.size() + eeprom_.size());
  for (std::uint32_t word = 0; word < flash_.size(); ++word) {
    image.push_back(Low(FlashWord(word)));
    image.push_back(High(FlashWord(word)));
  }
  for (std::uint32_t address = 0; address < eeprom_.size(); ++address) {
    image.push_back(EepromByte(address));
  }
  return image;
}

}  // namespace fenwright::board
