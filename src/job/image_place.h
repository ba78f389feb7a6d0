#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/app_state.h"
#include "core/sentence.h"

namespace fenwright::job {

// What differs from chip to chip has a place of its own in the image: a serial number, or the
// calibration byte that the chip's maker has measured.

/// A place in a memory, in bytes as Intel HEX counts them: the low byte of flash word w is at 2w.
struct ImagePlace {
  bool InFlash = true;
  std::int32_t Address = 0;

  bool operator==(const ImagePlace&) const = default;
};

/// A number that each chip gets: `Value` on every chip, or the next one that a counter file has.
struct SerialNumber {
  static constexpr int kWidest = 8;

  ImagePlace Place;
  std::optional<std::uint64_t> Value;  ///< nothing: the counter's next
  int Width = 4;                       ///< in bytes, 1 to kWidest
  bool BigEndian = false;              ///< the high byte comes first
  std::uint32_t Step = 1;              ///< from one chip to the next

  bool operator==(const SerialNumber&) const = default;

  /// The largest number that has room in the width.
  [[nodiscard]] std::uint64_t Largest() const;
};

/// Where a calibration byte goes; chips that have several count them from 0.
struct Calibration {
  ImagePlace Place;
  int Index = 0;

  bool operator==(const Calibration&) const = default;
};

/// "flash:0x1FFC=next:4:big:2": place, number or "next", and after colons width, byte order
/// ("little", "big") and step, which may be left out from the last one on. Nothing for a text that
/// is none; `error` says then what is wrong.
std::optional<SerialNumber> ParseSerialNumber(std::string_view text, core::Sentence& error);

/// "eeprom:0x00", or "eeprom:0x00=2" for the byte of index 2.
std::optional<Calibration> ParseCalibration(std::string_view text, core::Sentence& error);

/// "flash:0x1FFC"
std::string Describe(const ImagePlace& place);

/// Why `width` bytes cannot stand there in the image that is loaded for the selected device: beyond
/// its memory, or where the image has something already. Empty when they can.
core::Sentence WhyNoRoom(const core::AppState& state, const ImagePlace& place, int width);

/// Puts the number into the loaded image; there has to be room for it.
void PutNumber(core::AppState& state, const SerialNumber& form, std::uint64_t number);

/// Puts one byte there.
void PutByte(core::AppState& state, const ImagePlace& place, std::uint8_t byte);

}  // namespace fenwright::job
