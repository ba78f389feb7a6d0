#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace fenwright::update {

/// One word of the board's firmware as an update file gives it.
struct UpdateWord {
  std::int32_t Address = 0;  ///< word address
  std::uint8_t High = 0;
  std::uint8_t Low = 0;
};

/// Byte count and load address of a data record.
struct RecordHead {
  std::int32_t Count = 0;
  std::int32_t Address = 0;
};

/// True for the lines that an update uses: Intel HEX records of type "00". Every other line is
/// skipped without a word, extended addresses included.
bool IsDataRecord(std::string_view line);

/// Nothing when a digit is wrong or missing.
std::optional<RecordHead> ReadRecordHead(std::string_view line);

/// Hexadecimal characters from one word of a data field to the next.
inline constexpr std::int32_t kWordCharacters = 4;

/// True while a word begins at the `offset`-th character of the record's data field. A record with
/// an odd byte count has one word more than it has whole ones: its last byte is paired with
/// whatever follows in the line, the checksum.
bool HasWordAt(const RecordHead& head, std::int32_t offset);

/// The word whose first character is the `offset`-th of the data field. The file has the low byte
/// first. Nothing when a digit is wrong or missing.
std::optional<UpdateWord> ReadWord(std::string_view line, const RecordHead& head,
                                   std::int32_t offset);

/// Whether a word goes to the board. The gap 0x1F00-0x1FDF and the lone top word 0x1FFF are
/// deliberate: the board's loader lives there, and nothing may overwrite it.
bool IsSent(std::int32_t word_address);

}  // namespace fenwright::update
