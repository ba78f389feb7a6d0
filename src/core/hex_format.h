#pragma once

#include <cstdint>
#include <string>

namespace fenwright::core {

/// Hexadecimal text with upper-case digits.
/// Byte: two digits, the last two of value + 0x100.
std::string HexByte(std::int32_t value);

/// Address or word: four digits, the last four of value + 0x10000.
std::string HexAddress(std::int32_t value);

/// Digits as needed, without padding ("5" for 5).
std::string HexUnpadded(std::uint32_t value);

}  // namespace fenwright::core
