#pragma once

#include <algorithm>
#include <string>

#include "support/scripted_port.h"

namespace fenwright::testing {

inline constexpr const char* kEndRecord = ":00000001FF\r\n";

/// A whole Intel HEX record, CR LF included.
inline std::string HexRecord(unsigned address, const Bytes& data, unsigned type = 0) {
  Bytes record{static_cast<std::uint8_t>(data.size()), static_cast<std::uint8_t>(address >> 8),
               static_cast<std::uint8_t>(address), static_cast<std::uint8_t>(type)};
  record.insert(record.end(), data.begin(), data.end());
  unsigned sum = 0;
  for (const std::uint8_t byte : record) sum += byte;
  record.push_back(static_cast<std::uint8_t>(0U - sum));
  std::string digits = ToHex(record);
  std::erase(digits, ' ');
  return ":" + digits + "\r\n";
}

/// A whole file: `data` from a byte address on, 16 bytes a record, and the end record.
inline std::string HexText(const Bytes& data, unsigned start = 0) {
  std::string text;
  for (std::size_t i = 0; i < data.size(); i += 16) {
    const auto first = data.begin() + static_cast<std::ptrdiff_t>(i);
    const auto count = static_cast<std::ptrdiff_t>(std::min<std::size_t>(16, data.size() - i));
    text += HexRecord(start + static_cast<unsigned>(i), Bytes(first, first + count));
  }
  return text + kEndRecord;
}

}  // namespace fenwright::testing
