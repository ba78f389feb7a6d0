#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// Intel HEX once more, from its description alone: nothing of the engine is used here, so that a
// mistake in one cannot hide in the other. It is slow and short on purpose.
namespace fenwright::fuzz {

/// Lines that end in CR LF, LF or CR, without their ends.
std::vector<std::string> LinesOf(std::string_view content);

/// What a file means: the byte at each address, extended addresses followed.
struct PlainImage {
  bool IsWhole = true;  ///< each line is a record that adds up, and none contradicts another
  std::map<std::uint64_t, std::uint8_t> Bytes;
  bool HasData = false;  ///< a data record with a byte in it
  bool HasEnd = false;   ///< an end record
  bool HasDataBehindEnd = false;
  bool HasOffset = false;       ///< data behind an extended address other than 0
  bool HasSmallDigits = false;  ///< digits "a" to "f" where a reader of capitals looks
  bool HasGap = false;          ///< a blank line in front of a record
  bool IsAcrossTheTop = false;  ///< a record that goes on behind address 0xFFFF
};

/// Reads as a careful person would. Blanks and the end mark of old text files at the end of a line
/// count for nothing, like what stands behind a checksum; the checksum of an end record may be
/// wrong. A checksum may be the single character that the writer deliberately gives one.
PlainImage ReadPlainly(std::string_view content);

}  // namespace fenwright::fuzz
