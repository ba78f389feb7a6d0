#pragma once

#include <cstddef>

namespace fenwright::core {

// Where the fields of an Intel HEX record begin in its line, counted from 0; each byte has two
// digits. The line starts with ":"; behind the data stands the checksum.
inline constexpr std::size_t kRecordCount = 1;
inline constexpr std::size_t kRecordAddress = 3;
inline constexpr std::size_t kRecordType = 7;
inline constexpr std::size_t kRecordData = 9;

}  // namespace fenwright::core
