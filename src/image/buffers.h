#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/app_state.h"

namespace fenwright::image {

/// Fills the whole flash buffer, or EEPROM buffer, with the blank value 0xFF.
void ClearFlashBuffer(core::AppState& state);
void ClearEepromBuffer(core::AppState& state);

/// Value of a hexadecimal digit. Digits are upper case: any other character, "a" to "f" included,
/// counts as 0 and sets `link_error` to 1.
std::int32_t HexDigitValue(char character, std::int16_t& link_error);

/// Value of four hexadecimal digits.
std::int32_t HexWord(char c1, char c2, char c3, char c4, std::int16_t& link_error);

/// `line`, which starts with ":", with its Intel HEX checksum appended.
///
/// The checksum is the last two characters of the unpadded hexadecimal form of 256 - sum, in 16-bit
/// arithmetic. For a sum of 241 to 256 that form has one digit, so a single character is appended.
/// That is deliberate and files depend on it.
std::string RecordChecksum(std::string_view line, std::int16_t& link_error);

/// Index of the last non-blank flash word of the selected device, plus one; 0 when all are blank.
std::int32_t UsedFlashWords(const core::AppState& state);

/// Index of the last EEPROM byte of the selected device that is not 0xFF, plus one.
std::int32_t UsedEepromBytes(const core::AppState& state);

}  // namespace fenwright::image
