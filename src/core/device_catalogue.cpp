#include "core/device_catalogue.h"

#include <algorithm>
#include <cstddef>

namespace fenwright::core {
namespace {

using screen::GuidePosition;

constexpr auto kCatalogue = std::to_array<DeviceEntry>({
    {.DisplayName = "ATtiny12L",
     .ChipName = "ATtiny12L",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x55,
     .Signature = {0x90, 0x05},
     .SocketPlace = GuidePosition::A},
    {.DisplayName = "ATtiny15L",
     .ChipName = "ATtiny15L",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x56,
     .Signature = {0x90, 0x06},
     .SocketPlace = GuidePosition::A},
    {.DisplayName = "ATtiny26L",
     .ChipName = "ATtiny26L",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x59,
     .Signature = {0x91, 0x09},
     .SocketPlace = GuidePosition::B,
     .WritesWordsAtOnce = true},
    {.DisplayName = "AT90S2323",
     .ChipName = "AT90S2323",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x48,
     .Signature = {0x91, 0x02},
     .SocketPlace = GuidePosition::A},
    {.DisplayName = "AT90S2343",
     .ChipName = "AT90S2343",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x4C,
     .Signature = {0x91, 0x03},
     .SocketPlace = GuidePosition::A},
    // The two AT90S1200 rows differ by name alone: fuse and lock operations tell them apart.
    {.DisplayName = "AT90S1200 (外部ｸﾛｯｸ)",
     .ChipName = "AT90S1200",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x13,
     .Signature = {0x90, 0x01},
     .SocketPlace = GuidePosition::C},
    {.DisplayName = "AT90S1200A(内部RCｸﾛｯｸ1MHz)",
     .ChipName = "AT90S1200",
     .FlashWords = 512,
     .EepromBytes = 64,
     .DeviceCode = 0x13,
     .Signature = {0x90, 0x01},
     .SocketPlace = GuidePosition::C},
    {.DisplayName = "AT90S2313",
     .ChipName = "AT90S2313",
     .FlashWords = 1024,
     .EepromBytes = 128,
     .DeviceCode = 0x20,
     .Signature = {0x91, 0x01},
     .SocketPlace = GuidePosition::C},
    {.DisplayName = "AT90S4433",
     .ChipName = "AT90S4433",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .DeviceCode = 0x30,
     .Signature = {0x92, 0x03},
     .SocketPlace = GuidePosition::D},
    {.DisplayName = "AT90S4414",
     .ChipName = "AT90S4414",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .DeviceCode = 0x28,
     .Signature = {0x92, 0x01},
     .SocketPlace = GuidePosition::E},
    {.DisplayName = "AT90S4434",
     .ChipName = "AT90S4434",
     .FlashWords = 2048,
     .EepromBytes = 256,
     .DeviceCode = 0x6C,
     .Signature = {0x92, 0x02},
     .SocketPlace = GuidePosition::E},
    {.DisplayName = "AT90S8515",
     .ChipName = "AT90S8515",
     .FlashWords = 4096,
     .EepromBytes = 512,
     .DeviceCode = 0x38,
     .Signature = {0x93, 0x01},
     .SocketPlace = GuidePosition::E},
    {.DisplayName = "AT90S8535",
     .ChipName = "AT90S8535",
     .FlashWords = 4096,
     .EepromBytes = 512,
     .DeviceCode = 0x68,
     .Signature = {0x93, 0x03},
     .SocketPlace = GuidePosition::E},
});

/// A chip that is recognised in the socket but cannot be selected.
struct RecognisedChip {
  std::array<std::uint8_t, 2> Signature;
  std::string_view Name;
};
constexpr auto kRecognisedOnly =
    std::to_array<RecognisedChip>({{.Signature = {0x90, 0x04}, .Name = "ATtiny11L"}});

/// The row of a table whose chip reports these two bytes, or null.
template <typename Rows>
const auto* RowOf(const Rows& rows, std::uint8_t family, std::uint8_t part) {
  const auto row = std::ranges::find_if(rows, [&](const auto& candidate) {
    return candidate.Signature[0] == family && candidate.Signature[1] == part;
  });
  return row == rows.end() ? nullptr : &*row;
}

}  // namespace

std::span<const DeviceEntry> DeviceCatalogue() { return kCatalogue; }

std::string DeviceAlias(std::string_view display_name) {
  const auto end = std::ranges::find_if_not(display_name, [](char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z');
  });
  return {display_name.begin(), end};
}

const DeviceEntry* FindDevice(std::string_view display_name) {
  const auto row = std::ranges::find(kCatalogue, display_name, &DeviceEntry::DisplayName);
  return row == kCatalogue.end() ? nullptr : &*row;
}

const DeviceEntry* FindDeviceBySignature(std::uint8_t family, std::uint8_t part) {
  return RowOf(kCatalogue, family, part);
}

std::string_view LookUpSignature(std::uint8_t family, std::uint8_t part) {
  if (const DeviceEntry* device = FindDeviceBySignature(family, part)) return device->ChipName;
  const RecognisedChip* const chip = RowOf(kRecognisedOnly, family, part);
  return chip ? chip->Name : std::string_view{};
}

bool NamesSameChip(std::string_view found_name, std::string_view display_name) {
  constexpr std::size_t kComparedCharacters = 9;
  return found_name == display_name.substr(0, kComparedCharacters);
}

}  // namespace fenwright::core
