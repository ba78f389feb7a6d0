#include "update/update_words.h"

#include <charconv>
#include <cstddef>

#include "core/hex_record.h"

namespace fenwright::update {
namespace {

constexpr std::size_t kByteDigits = 2;
constexpr std::size_t kAddressDigits = 4;

constexpr std::int32_t kGapStart = 0x1F00;
constexpr std::int32_t kGapEnd = 0x1FDF;
constexpr std::int32_t kTopWord = 0x1FFF;

/// `digits` hexadecimal digits of either case; nothing when one is wrong or missing.
std::optional<std::int32_t> Hex(std::string_view line, std::size_t position, std::size_t digits) {
  if (line.size() < position + digits) return std::nullopt;
  std::int32_t value = 0;
  const char* const end = line.data() + position + digits;
  const auto [stop, problem] = std::from_chars(line.data() + position, end, value, 16);
  // A sign would count as part of the number.
  if (problem != std::errc{} || stop != end || line[position] == '-') return std::nullopt;
  return value;
}

}  // namespace

bool IsDataRecord(std::string_view line) {
  return line.starts_with(':') && line.size() > core::kRecordType &&
         line.substr(core::kRecordType, kByteDigits) == "00";
}

std::optional<RecordHead> ReadRecordHead(std::string_view line) {
  const auto count = Hex(line, core::kRecordCount, kByteDigits);
  const auto address = Hex(line, core::kRecordAddress, kAddressDigits);
  if (!count || !address) return std::nullopt;
  return RecordHead{.Count = *count, .Address = *address};
}

bool HasWordAt(const RecordHead& head, std::int32_t offset) { return offset <= 2 * head.Count - 1; }

std::optional<UpdateWord> ReadWord(std::string_view line, const RecordHead& head,
                                   std::int32_t offset) {
  const std::size_t position = core::kRecordData + static_cast<std::size_t>(offset);
  const auto low = Hex(line, position, kByteDigits);
  const auto high = Hex(line, position + kByteDigits, kByteDigits);
  if (!low || !high) return std::nullopt;
  // A record at an odd byte address gives half addresses: their integer part counts.
  return UpdateWord{.Address = (head.Address + offset / 2) / 2,
                    .High = static_cast<std::uint8_t>(*high),
                    .Low = static_cast<std::uint8_t>(*low)};
}

bool IsSent(std::int32_t word_address) {
  return word_address < kGapStart || (word_address > kGapEnd && word_address < kTopWord);
}

}  // namespace fenwright::update
