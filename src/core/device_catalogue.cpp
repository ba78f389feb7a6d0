#include "core/device_catalogue.h"

#include <algorithm>
#include <cstddef>

namespace fenwright::core {
namespace {

constexpr std::array<DeviceEntry, 13> kCatalogue{{
    {.DisplayName = "ATtiny12L",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x55,
     .Signature = {0x90, 0x05}},
    {.DisplayName = "ATtiny15L",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x56,
     .Signature = {0x90, 0x06}},
    {.DisplayName = kTiny26,
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x59,
     .Signature = {0x91, 0x09}},
    {.DisplayName = "AT90S2323",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x48,
     .Signature = {0x91, 0x02}},
    {.DisplayName = "AT90S2343",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x4C,
     .Signature = {0x91, 0x03}},
    // The two AT90S1200 rows differ by name alone: fuse and lock operations tell them apart.
    {.DisplayName = "AT90S1200 (外部ｸﾛｯｸ)",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x13,
     .Signature = {0x90, 0x01}},
    {.DisplayName = "AT90S1200A(内部RCｸﾛｯｸ1MHz)",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x13,
     .Signature = {0x90, 0x01}},
    {.DisplayName = "AT90S2313",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x20,
     .Signature = {0x91, 0x01}},
    {.DisplayName = "AT90S4433",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .DeviceCode = 0x30,
     .Signature = {0x92, 0x03}},
    {.DisplayName = "AT90S4414",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .DeviceCode = 0x28,
     .Signature = {0x92, 0x01}},
    {.DisplayName = "AT90S4434",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .DeviceCode = 0x6C,
     .Signature = {0x92, 0x02}},
    {.DisplayName = "AT90S8515",
     .FlashWords = 4096,
     .EepromBytes = 512,
     .DeviceCode = 0x38,
     .Signature = {0x93, 0x01}},
    {.DisplayName = "AT90S8535",
     .FlashWords = 4096,
     .EepromBytes = 512,
     .DeviceCode = 0x68,
     .Signature = {0x93, 0x03}},
}};

struct SignatureRow {
  std::uint8_t Family;
  std::uint8_t Part;
  std::string_view Name;
};

// Pairs that name no chip (0x90 0x02, 0x91 0x04 to 0x08, ...) need no row: they give "" as well.
constexpr std::array<SignatureRow, 13> kSignatures{{
    {.Family = 0x90, .Part = 0x01, .Name = "AT90S1200"},
    {.Family = 0x90, .Part = 0x04, .Name = "ATtiny11L"},
    {.Family = 0x90, .Part = 0x05, .Name = "ATtiny12L"},
    {.Family = 0x90, .Part = 0x06, .Name = "ATtiny15L"},
    {.Family = 0x91, .Part = 0x01, .Name = "AT90S2313"},
    {.Family = 0x91, .Part = 0x02, .Name = "AT90S2323"},
    {.Family = 0x91, .Part = 0x03, .Name = "AT90S2343"},
    {.Family = 0x91, .Part = 0x09, .Name = "ATtiny26L"},
    {.Family = 0x92, .Part = 0x01, .Name = "AT90S4414"},
    {.Family = 0x92, .Part = 0x02, .Name = "AT90S4434"},
    {.Family = 0x92, .Part = 0x03, .Name = "AT90S4433"},
    {.Family = 0x93, .Part = 0x01, .Name = "AT90S8515"},
    {.Family = 0x93, .Part = 0x03, .Name = "AT90S8535"},
}};

}  // namespace

std::span<const DeviceEntry> DeviceCatalogue() { return kCatalogue; }

const DeviceEntry* FindDevice(std::string_view display_name) {
  const auto row = std::ranges::find(kCatalogue, display_name, &DeviceEntry::DisplayName);
  return row == kCatalogue.end() ? nullptr : &*row;
}

std::string_view LookUpSignature(std::uint8_t family, std::uint8_t part) {
  const auto row = std::ranges::find_if(kSignatures, [&](const SignatureRow& candidate) {
    return candidate.Family == family && candidate.Part == part;
  });
  return row == kSignatures.end() ? std::string_view{} : row->Name;
}

bool NamesSameChip(std::string_view found_name, std::string_view display_name) {
  constexpr std::size_t kComparedCharacters = 9;
  return found_name == display_name.substr(0, kComparedCharacters);
}

}  // namespace fenwright::core
