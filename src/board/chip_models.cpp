#include "board/chip_models.h"

#include <algorithm>

namespace fenwright::board {
namespace {

using namespace std::chrono_literals;

constexpr ChipTimes kAt90sTimes{
    .Erase = 8ms, .FlashWrite = 4ms, .EepromWrite = 4ms, .FuseWrite = 4ms};
constexpr ChipTimes kTiny12Times{
    .Erase = 8200us, .FlashWrite = 4100us, .EepromWrite = 4100us, .FuseWrite = 4100us};
constexpr ChipTimes kTiny26Times{
    .Erase = 9ms, .FlashWrite = 4500us, .EepromWrite = 9ms, .FuseWrite = 4500us};

// Fuse bytes as delivered. SPIEN reads as programmed wherever it can be read, and serial
// programming cannot change it; bits that do not exist read 1.
constexpr auto kModels = std::to_array<ChipModel>({
    {.Name = "ATtiny12L",
     .DeviceCode = 0x55,
     .Signature = {0x1E, 0x90, 0x05},
     .WriteCommands = "cCul",
     .FlashWords = 512,
     .EepromBytes = 64,
     .Fuses = FuseAccess::FourthByte,
     .FuseLow = 0xD2,  // BODLEVEL 1, BODEN 1, SPIEN 0, RSTDISBL 1, CKSEL 0010
     .FuseLowMask = 0xDF,
     .ResetDisableLow = 0x10,
     .Lock = LockAccess::Bits2To1,
     .CalibrationCount = 1,
     .Calibration = {0x6B, 0x6B, 0x6B, 0x6B},
     .Times = kTiny12Times},
    {.Name = "ATtiny15L",
     .DeviceCode = 0x56,
     .Signature = {0x1E, 0x90, 0x06},
     .WriteCommands = "cCul",
     .FlashWords = 512,
     .EepromBytes = 64,
     .Fuses = FuseAccess::FourthByte,
     .FuseLow = 0xDC,  // BODLEVEL 1, BODEN 1, SPIEN 0, RSTDISBL 1, none, none, CKSEL 00
     .FuseLowMask = 0xD3,
     .ResetDisableLow = 0x10,
     .Lock = LockAccess::Bits2To1,
     .CalibrationCount = 1,
     .Calibration = {0x8C, 0x8C, 0x8C, 0x8C},
     .Times = kTiny12Times},
    {.Name = "ATtiny26L",
     .DeviceCode = 0x59,
     .Signature = {0x1E, 0x91, 0x09},
     .WriteCommands = "Wu",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .PageWords = 16,
     .Fuses = FuseAccess::LowAndHigh,
     .FuseLow = 0xE1,  // PLLCK 1, CKOPT 1, SUT 10, CKSEL 0001
     .FuseLowMask = 0xFF,
     .FuseHigh = 0xF7,  // none x 3, RSTDISBL 1, SPIEN 0, EESAVE 1, BODLEVEL 1, BODEN 1
     .FuseHighMask = 0x17,
     .ResetDisableHigh = 0x10,
     .EepromSaveHigh = 0x04,
     .Lock = LockAccess::FourthBits1To0,
     .CalibrationCount = 4,
     .Calibration = {0xA4, 0x9F, 0x9B, 0x97},
     .Times = kTiny26Times},
    {.Name = "AT90S2323",
     .DeviceCode = 0x48,
     .Signature = {0x1E, 0x91, 0x02},
     .WriteCommands = "cCfl",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .Fuses = FuseAccess::SecondByte,
     .FuseLow = 0xDF,  // SPIEN 0 (bit 5), FSTRT 1 (bit 0)
     .FuseLowMask = 0x01,
     .Lock = LockAccess::Bits7To6,
     .Times = kAt90sTimes},
    {.Name = "AT90S2343",
     .DeviceCode = 0x4C,
     .Signature = {0x1E, 0x91, 0x03},
     .WriteCommands = "cCfl",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .Fuses = FuseAccess::SecondByte,
     .FuseLow = 0xDE,  // SPIEN 0 (bit 5), RCEN 0 (bit 0): delivered running on the RC oscillator
     .FuseLowMask = 0x01,
     .Lock = LockAccess::Bits7To6,
     .Times = kAt90sTimes},
    {.Name = "AT90S1200 (外部ｸﾛｯｸ)",
     .DeviceCode = 0x13,
     .Signature = {0x1E, 0x90, 0x01},
     .WriteCommands = "cCfl",
     .FlashWords = 512,
     .EepromBytes = 64,
     .Lock = LockAccess::WriteOnly,
     .Times = kAt90sTimes},
    {.Name = "AT90S1200A(内部RCｸﾛｯｸ1MHz)",
     .DeviceCode = 0x13,
     .Signature = {0x1E, 0x90, 0x01},
     .WriteCommands = "cCfl",
     .FlashWords = 512,
     .EepromBytes = 64,
     .Lock = LockAccess::WriteOnly,
     .Times = kAt90sTimes},
    {.Name = "AT90S2313",
     .DeviceCode = 0x20,
     .Signature = {0x1E, 0x91, 0x01},
     .WriteCommands = "cCfl",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .Lock = LockAccess::WriteOnly,
     .Times = kAt90sTimes},
    {.Name = "AT90S4433",
     .DeviceCode = 0x30,
     .Signature = {0x1E, 0x92, 0x03},
     .WriteCommands = "cCfl",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .Fuses = FuseAccess::SecondByte,
     .FuseLow = 0xDA,  // none x 2, SPIEN 0, BODLEVEL 1, BODEN 1, CKSEL 010
     .FuseLowMask = 0x1F,
     .Lock = LockAccess::Bits2To1,
     .Times = kAt90sTimes},
    {.Name = "AT90S4414",
     .DeviceCode = 0x28,
     .Signature = {0x1E, 0x92, 0x01},
     .WriteCommands = "cCfl",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .Lock = LockAccess::WriteOnly,
     .Times = kAt90sTimes},
    {.Name = "AT90S4434",
     .DeviceCode = 0x6C,
     .Signature = {0x1E, 0x92, 0x02},
     .WriteCommands = "cCfl",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .Fuses = FuseAccess::SecondByte,
     .FuseLow = 0xDF,  // SPIEN 0 (bit 5), FSTRT 1 (bit 0)
     .FuseLowMask = 0x01,
     .Lock = LockAccess::Bits7To6,
     .Times = kAt90sTimes},
    {.Name = "AT90S8515",
     .DeviceCode = 0x38,
     .Signature = {0x1E, 0x93, 0x01},
     .WriteCommands = "cCfl",
     .FlashWords = 4096,
     .EepromBytes = 512,
     .Lock = LockAccess::WriteOnly,
     .Times = kAt90sTimes},
    {.Name = "AT90S8535",
     .DeviceCode = 0x68,
     .Signature = {0x1E, 0x93, 0x03},
     .WriteCommands = "cCfl",
     .FlashWords = 4096,
     .EepromBytes = 512,
     .Fuses = FuseAccess::SecondByte,
     .FuseLow = 0xDF,  // SPIEN 0 (bit 5), FSTRT 1 (bit 0)
     .FuseLowMask = 0x01,
     .Lock = LockAccess::Bits7To6,
     .Times = kAt90sTimes},
    {.Name = "ATtiny11L",
     .DeviceCode = std::nullopt,
     .Signature = {0x1E, 0x90, 0x04},
     .FlashWords = 512},
    {.Name = "empty",
     .DeviceCode = std::nullopt,
     .Signature = {0xFF, 0xFF, 0xFF},
     .Present = false},
});

std::string_view ShortName(std::string_view name) {
  return name.substr(0, name.find_first_of(" ("));
}

/// The one model that fits; null when none does or several do.
template <typename Fits>
const ChipModel* OnlyOne(Fits fits) {
  const auto* const first = std::find_if(kModels.begin(), kModels.end(), fits);
  if (first == kModels.end() || std::find_if(first + 1, kModels.end(), fits) != kModels.end()) {
    return nullptr;
  }
  return first;
}

}  // namespace

std::span<const ChipModel> ChipModels() { return kModels; }

const ChipModel* FindChip(std::string_view name) {
  if (const auto* model = OnlyOne([&](const ChipModel& m) { return m.Name == name; })) {
    return model;
  }
  if (const auto* model = OnlyOne([&](const ChipModel& m) { return ShortName(m.Name) == name; })) {
    return model;
  }
  return OnlyOne([&](const ChipModel& m) { return m.Name.find(name) != std::string_view::npos; });
}

const ChipModel* FindChipByCode(std::uint8_t code) {
  const auto* const found = std::find_if(kModels.begin(), kModels.end(),
                                         [&](const ChipModel& m) { return m.DeviceCode == code; });
  return found == kModels.end() ? nullptr : found;
}

std::string ListChipNames() {
  std::string names;
  for (const ChipModel& model : kModels) {
    names.append(model.Name).append("\n");
  }
  return names;
}

}  // namespace fenwright::board
