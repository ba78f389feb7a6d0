#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "screen/guide_form.h"

namespace fenwright::core {

/// One selectable chip: all that the program knows of it, but for its fuse fields
/// (fuse/fuse_model). Sizes and signatures are those of the chips' data sheets.
struct DeviceEntry {
  std::string_view DisplayName;  ///< the key of the row
  std::string_view ChipName;     ///< its maker's name, which several rows may share
  std::int32_t FlashWords = 0;   ///< in 16-bit words
  std::int32_t EepromBytes = 0;
  std::uint8_t DeviceCode = 0;              ///< argument of the board's select-device command
  std::array<std::uint8_t, 2> Signature{};  ///< the family and the part byte that the chip reports
  screen::GuidePosition SocketPlace{};      ///< where the chip goes in the board's socket
  bool WritesWordsAtOnce = false;  ///< flash words are written by one exchange, not one a byte
};

/// The chips in selector order; the position is the index stored in the settings.
std::span<const DeviceEntry> DeviceCatalogue();

/// The name of a device in ASCII letters and digits: what its display name begins with. No two
/// devices have the same.
std::string DeviceAlias(std::string_view display_name);

/// The row whose display name equals `display_name` exactly, or null.
const DeviceEntry* FindDevice(std::string_view display_name);

/// The first row whose chip reports these two signature bytes, or null.
const DeviceEntry* FindDeviceBySignature(std::uint8_t family, std::uint8_t part);

/// Name of the chip that reports these two signature bytes, "" for a pair that names no chip. It
/// knows more chips than the catalogue: some can be recognised in the socket but not selected.
std::string_view LookUpSignature(std::uint8_t family, std::uint8_t part);

/// True when a name found by LookUpSignature() is that of the selected chip: display names are
/// compared by their first nine characters, so that both AT90S1200 rows match "AT90S1200".
bool NamesSameChip(std::string_view found_name, std::string_view display_name);

}  // namespace fenwright::core
