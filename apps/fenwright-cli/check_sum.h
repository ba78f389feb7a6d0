#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace fenwright::cli {

/// CRC-32 as ZIP files have it, in eight digits.
inline std::string CheckSum(std::string_view bytes) {
  constexpr std::uint32_t kPolynomial = 0xEDB88320;
  constexpr int kBits = 8;
  std::uint32_t sum = ~0U;
  for (const char byte : bytes) {
    sum ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < kBits; ++bit) sum = sum >> 1 ^ (sum % 2 == 0 ? 0 : kPolynomial);
  }
  return fmt::format("{:08x}", ~sum);
}

}  // namespace fenwright::cli
