#include "ops/difference_marks.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/hex_format.h"
#include "image/dump_files.h"

namespace fenwright::ops {
namespace {

using core::Difference;

constexpr unsigned kBitsOfByte = 8;
constexpr unsigned kByteMask = 0xFF;
constexpr int kByteDigits = 2;

std::string Digits(bool in_flash, std::uint16_t value) {
  const std::string low = core::HexByte(static_cast<std::uint8_t>(value & kByteMask));
  if (!in_flash) return low;
  return core::HexByte(static_cast<std::uint8_t>(value >> kBitsOfByte)) + low;
}

/// Of a word the one byte alone that differs, where the other is the same.
screen::TextPlace DifferingDigits(screen::TextPlace word, const Difference& difference) {
  const unsigned bits = static_cast<unsigned>(difference.Expected) ^ difference.Found;
  const bool high = bits >> kBitsOfByte != 0;
  const bool low = (bits & kByteMask) != 0;
  if (high && low) return word;
  word.Length = kByteDigits;
  if (low) word.Column += kByteDigits;
  return word;
}

std::optional<screen::TextPlace> PlaceOf(const core::AppState& state,
                                         const Difference& difference) {
  if (!difference.InFlash) return image::EepromCellPlace(state, difference.Address);
  const auto word = image::FlashCellPlace(state, difference.Address);
  if (!word) return std::nullopt;
  return DifferingDigits(*word, difference);
}

std::string NoteOf(const Difference& difference) {
  return core::HexAddress(difference.Address) + " : バッファー " +
         Digits(difference.InFlash, difference.Expected) + "、チップ " +
         Digits(difference.InFlash, difference.Found);
}

}  // namespace

void MarkDifferences(core::RunContext& context) {
  std::vector<screen::DifferingPlace> flash;
  std::vector<screen::DifferingPlace> eeprom;
  for (const Difference& difference : context.State.Command.Differences) {
    const auto place = PlaceOf(context.State, difference);
    if (!place) continue;
    (difference.InFlash ? flash : eeprom).push_back({.Place = *place, .Note = NoteOf(difference)});
  }
  screen::Views& views = context.Screen.Views;
  if (!flash.empty()) views.MarkDifferences(screen::View::Flash, flash);
  if (!eeprom.empty()) views.MarkDifferences(screen::View::Eeprom, eeprom);
}

}  // namespace fenwright::ops
