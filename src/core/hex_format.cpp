#include "core/hex_format.h"

#include <cstddef>

namespace fenwright::core {
namespace {

std::string LastDigits(std::uint32_t value, std::size_t count) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text(count, '0');
  for (std::size_t place = count; place > 0; --place) {
    text[place - 1] = kDigits[value & 0xF];
    value >>= 4;
  }
  return text;
}

}  // namespace

std::string HexByte(std::int32_t value) { return LastDigits(static_cast<std::uint32_t>(value), 2); }

std::string HexAddress(std::int32_t value) {
  return LastDigits(static_cast<std::uint32_t>(value), 4);
}

std::string HexUnpadded(std::uint32_t value) {
  std::size_t count = 1;
  for (std::uint32_t rest = value >> 4; rest != 0; rest >>= 4) ++count;
  return LastDigits(value, count);
}

}  // namespace fenwright::core
