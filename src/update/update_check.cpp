#include "update/update_check.h"

#include <charconv>
#include <cstddef>
#include <optional>
#include <vector>

#include "core/hex_record.h"
#include "core/text_lines.h"
#include "update/update_words.h"

namespace fenwright::update {
namespace {

constexpr std::uint8_t kData = 0x00;
constexpr std::uint8_t kEnd = 0x01;
constexpr std::uint8_t kExtendedSegmentAddress = 0x02;
constexpr std::uint8_t kExtendedLinearAddress = 0x04;
constexpr std::uint8_t kLargestType = 0x05;

/// Index of the byte whose digits begin at a position of the line.
constexpr std::size_t ByteAt(std::size_t position) { return (position - core::kRecordCount) / 2; }
constexpr std::size_t kTypeIndex = ByteAt(core::kRecordType);
constexpr std::size_t kFirstDataIndex = ByteAt(core::kRecordData);
/// The bytes before the data, and the checksum behind it.
constexpr std::size_t kOverhead = kFirstDataIndex + 1;

/// All bytes of a record, its checksum included; nothing when the line is no whole record.
std::optional<std::vector<std::uint8_t>> RecordBytes(std::string_view line) {
  constexpr std::size_t kDigits = 2;
  if (!line.starts_with(':') || line.size() % kDigits == 0) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 1; i < line.size(); i += kDigits) {
    std::uint8_t value = 0;
    const char* const end = line.data() + i + kDigits;
    const auto [stop, problem] = std::from_chars(line.data() + i, end, value, 16);
    if (problem != std::errc{} || stop != end) return std::nullopt;
    bytes.push_back(value);
  }
  const bool whole = bytes.size() >= kOverhead && bytes.size() == bytes.front() + kOverhead &&
                     bytes.at(kTypeIndex) <= kLargestType;
  return whole ? std::optional(bytes) : std::nullopt;
}

bool AddsUp(const std::vector<std::uint8_t>& record) {
  unsigned sum = 0;
  for (const std::uint8_t byte : record) sum += byte;
  return sum % 256 == 0;
}

bool HasOtherAddressThanZero(const std::vector<std::uint8_t>& record) {
  const std::uint8_t type = record.at(kTypeIndex);
  if (type != kExtendedSegmentAddress && type != kExtendedLinearAddress) return false;
  for (std::size_t i = kFirstDataIndex; i + 1 < record.size(); ++i) {
    if (record.at(i) != 0) return true;
  }
  return false;
}

void CountWords(std::string_view line, ImageReport& report) {
  const auto head = ReadRecordHead(line);
  if (!head) return;
  for (std::int32_t offset = 0; HasWordAt(*head, offset); offset += kWordCharacters) {
    const auto word = ReadWord(line, *head, offset);
    if (word) ++(IsSent(word->Address) ? report.WordsToSend : report.WordsToSkip);
  }
}

/// Looks at one line; `ended` says whether the end record has been there.
ImageFault CheckLine(std::string_view line, bool& ended, ImageReport& report) {
  const auto record = RecordBytes(line);
  if (!record) return ImageFault::BrokenLine;
  if (!AddsUp(*record)) return ImageFault::WrongChecksum;
  if (HasOtherAddressThanZero(*record)) return ImageFault::UnusedAddress;
  if (record->at(kTypeIndex) == kEnd) ended = true;
  if (record->at(kTypeIndex) != kData || record->front() == 0) return ImageFault::None;
  if (ended) return ImageFault::DataAfterEnd;
  if (record->at(2) % 2 != 0) return ImageFault::OddAddress;
  CountWords(line, report);
  return ImageFault::None;
}

}  // namespace

ImageReport CheckImage(std::string_view content) {
  ImageReport report;
  bool ended = false;
  std::string_view rest = content;
  for (std::int32_t number = 1; !rest.empty(); ++number) {
    const std::string_view line = core::TakeLine(rest);
    if (line.empty()) continue;
    report.Fault = CheckLine(line, ended, report);
    if (report.Fault != ImageFault::None) {
      report.FaultLine = number;
      return report;
    }
    const auto head = ReadRecordHead(line);
    const bool odd = IsDataRecord(line) && head && head->Count % 2 != 0;
    if (odd && report.FirstOddLine == 0) report.FirstOddLine = number;
  }
  if (report.WordsToSend + report.WordsToSkip == 0) {
    report.Fault = ImageFault::NoDataRecord;
  } else if (!ended) {
    report.Fault = ImageFault::NoEndRecord;
  } else if (report.WordsToSend == 0) {
    report.Fault = ImageFault::NoWordToSend;
  }
  return report;
}

}  // namespace fenwright::update
