#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace fenwright::core {

/// One selectable chip. `FlashWords` counts 16-bit words, `EepromBytes` bytes; `DeviceCode` is the
/// argument of the board's select-device command, `Signature` the family and the part byte that the
/// chip reports. Sizes and signatures are those of the chips' data sheets.
struct DeviceEntry {
  std::string_view DisplayName;
  std::int32_t FlashWords = 0;
  std::int32_t EepromBytes = 0;
  std::uint8_t DeviceCode = 0;
  std::array<std::uint8_t, 2> Signature{};
};

/// The thirteen chips in selector order; the position is the index stored in the settings.
std::span<const DeviceEntry> DeviceCatalogue();

/// The row whose display name equals `display_name` exactly, or null.
const DeviceEntry* FindDevice(std::string_view display_name);

/// Name of the chip that reports these two signature bytes, "" for a pair that names no chip. It
/// knows more chips than the catalogue: some can be recognised in the socket but not selected.
std::string_view LookUpSignature(std::uint8_t family, std::uint8_t part);

/// True when a name found by LookUpSignature() is that of the selected chip: display names are
/// compared by their first nine characters, so that both AT90S1200 rows match "AT90S1200".
bool NamesSameChip(std::string_view found_name, std::string_view display_name);

/// The name of the device that is written with the one-step word command.
inline constexpr std::string_view kTiny26 = "ATtiny26L";

}  // namespace fenwright::core
