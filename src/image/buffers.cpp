#include "image/buffers.h"

#include <algorithm>
#include <cstddef>

#include "core/hex_format.h"

namespace fenwright::image {

void ClearFlashBuffer(core::AppState& state) { std::ranges::fill(state.FlashBuffer, core::kBlank); }

void ClearEepromBuffer(core::AppState& state) {
  std::ranges::fill(state.EepromBuffer, core::kBlank);
}

std::int32_t HexDigitValue(char character, std::int16_t& link_error) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  link_error = 1;
  return 0;
}

std::int32_t HexWord(char c1, char c2, char c3, char c4, std::int16_t& link_error) {
  return 4096 * HexDigitValue(c1, link_error) + 256 * HexDigitValue(c2, link_error) +
         16 * HexDigitValue(c3, link_error) + HexDigitValue(c4, link_error);
}

std::string RecordChecksum(std::string_view line, std::int16_t& link_error) {
  std::int32_t sum = 0;
  for (std::size_t i = 1; i < line.size(); i += 2) {
    // The second digit of an odd last pair is missing and counts as no digit.
    const char second = i + 1 < line.size() ? line[i + 1] : '\0';
    sum += HexWord('0', '0', line[i], second, link_error);
  }
  const auto complement = static_cast<std::uint16_t>(~sum + 257);
  const std::string digits = core::HexUnpadded(complement);
  const std::size_t kept = std::min<std::size_t>(digits.size(), 2);
  return std::string(line) + digits.substr(digits.size() - kept);
}

std::int32_t UsedFlashWords(const core::AppState& state) {
  for (std::int32_t word = state.FlashWords; word > 0; --word) {
    const auto index = 2 * static_cast<std::size_t>(word - 1);
    if (state.FlashBuffer[index] != core::kBlank || state.FlashBuffer[index + 1] != core::kBlank) {
      return word;
    }
  }
  return 0;
}

std::int32_t UsedEepromBytes(const core::AppState& state) {
  for (std::int32_t byte = state.EepromBytes; byte > 0; --byte) {
    if (state.EepromBuffer[static_cast<std::size_t>(byte - 1)] != core::kBlank) return byte;
  }
  return 0;
}

}  // namespace fenwright::image
