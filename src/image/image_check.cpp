#include "image/image_check.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <optional>
#include <tuple>
#include <utility>

#include "core/app_state.h"
#include "core/hex_record.h"
#include "core/text_lines.h"
#include "image/buffers.h"
#include "image/image_texts.h"

namespace fenwright::image {
namespace {

constexpr std::size_t kCodes = static_cast<std::size_t>(FindingCode::NoEndRecord) + 1;

constexpr std::array<std::string_view, kCodes> kNames{
    "not-a-record",          "blank-line",          "unknown-type",     "bad-digit",
    "short-record",          "long-record",         "wrong-checksum",   "wrong-end-checksum",
    "extended-address",      "data-beyond-buffer",  "data-beyond-chip", "records-after-end",
    "contradicting-records", "overlapping-records", "no-data",          "no-end-record"};

constexpr std::int32_t kData = 0;
constexpr std::int32_t kEnd = 1;
constexpr std::int32_t kSegmentAddress = 2;
constexpr std::int32_t kLinearAddress = 4;
constexpr std::int32_t kLargestType = 5;

constexpr std::size_t kChecksumDigits = 2;
/// Addresses that a record can reach without an extended address.
constexpr std::size_t kAddresses = 0x10000 + 0x100;

Severity WeightOf(FindingCode code) {
  constexpr auto kNotes =
      std::to_array({FindingCode::BlankLine, FindingCode::LongRecord, FindingCode::WrongEndChecksum,
                     FindingCode::OverlappingRecords});
  return std::ranges::find(kNotes, code) == kNotes.end() ? Severity::Refuse : Severity::Note;
}

/// The last byte address that a reader takes.
std::int32_t LastAddress(ImageKind kind) {
  switch (kind) {
    case ImageKind::Code:
      return core::kFlashBufferLast - 1;  // the bytes of a word are swapped in the buffer
    case ImageKind::Data:
      return core::kEepromBufferLast;
    case ImageKind::Firmware:
      break;
  }
  return static_cast<std::int32_t>(kAddresses) - 1;
}

/// Blanks at the end, and the end mark of old text files, are nobody's data.
std::string_view WithoutBlankEnd(std::string_view line) {
  const std::size_t last = line.find_last_not_of(" \t\x1A");
  return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

/// -1 for a character that is no digit.
std::int32_t DigitValue(char character, bool either_case) {
  if (either_case) {
    character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
  }
  std::int16_t wrong = 0;
  const std::int32_t value = HexDigitValue(character, wrong);
  return wrong == 0 ? value : -1;
}

/// The value of digits that are known to be there and right.
std::int32_t Value(std::string_view digits) {
  std::int32_t value = 0;
  for (const char digit : digits) value = 16 * value + DigitValue(digit, true);
  return value;
}

/// A record whose digits are all there, but for those of its checksum.
struct Record {
  std::string_view Line;  ///< without blanks at its end
  std::int32_t Number = 0;
  std::int32_t Count = 0;
  std::int32_t Address = 0;
  std::int32_t Type = 0;

  [[nodiscard]] std::size_t DataEnd() const {
    return core::kRecordData + 2 * static_cast<std::size_t>(Count);
  }
  [[nodiscard]] std::int32_t ByteAt(std::size_t position) const {
    return Value(Line.substr(position, 2));
  }
  [[nodiscard]] std::int32_t DataByte(std::int32_t index) const {
    return ByteAt(core::kRecordData + 2 * static_cast<std::size_t>(index));
  }
};

std::int32_t ChecksumOf(const Record& record) {
  std::int32_t sum = 0;
  for (std::size_t i = core::kRecordCount; i < record.DataEnd(); i += 2) sum += record.ByteAt(i);
  return -sum & 0xFF;
}

/// The checksum in the line; -1 when there are no two digits in its place.
std::int32_t ChecksumIn(const Record& record) {
  const std::string_view digits = record.Line.substr(record.DataEnd(), kChecksumDigits);
  const bool whole = digits.size() == kChecksumDigits && DigitValue(digits[0], true) >= 0 &&
                     DigitValue(digits[1], true) >= 0;
  return whole ? Value(digits) : -1;
}

/// The writer's records, all of 16 bytes, have a checksum of one character now and then.
bool IsOwnShortForm(const Record& record) {
  constexpr std::int32_t kOwnCount = 16;
  if (record.Type != kData || record.Count != kOwnCount) return false;
  std::int16_t ignored = 0;
  return RecordChecksum(record.Line.substr(0, record.DataEnd()), ignored) == record.Line;
}

class Checker {
 public:
  explicit Checker(const ImageTarget& target) : target_(target) {}

  void Look(std::string_view whole_line, std::int32_t number) {
    const std::string_view line = WithoutBlankEnd(whole_line);
    if (line.empty()) return NoteBlankLine(number);
    // The reading has ended at the blank line already.
    if (blank_line_ != 0) Add({.Code = FindingCode::NotARecord, .Line = blank_line_});
    blank_line_ = 0;
    if (!line.starts_with(':')) return Add({.Code = FindingCode::NotARecord, .Line = number});
    if (const auto record = Decode(line, number)) Take(*record);
  }

  ImageCheck Finish() {
    if (blank_line_ != 0) Add({.Code = FindingCode::BlankLine, .Line = blank_line_});
    if (target_.Kind != ImageKind::Data && !has_data_) {
      Add({.Code = FindingCode::NoData});
    } else if (end_line_ == 0) {
      Add({.Code = FindingCode::NoEndRecord});
    }
    ImageCheck check{.Findings = {}, .Share = Share()};
    for (std::optional<Finding>& finding : found_) {
      if (!finding) continue;
      Describe(*finding, target_, check.Share);
      check.Findings.push_back(*finding);
    }
    std::ranges::sort(check.Findings, {}, [](const Finding& finding) {
      return std::tuple(finding.Line == 0, finding.Line, finding.Code);
    });
    return check;
  }

 private:
  void Add(Finding finding) {
    std::optional<Finding>& first = found_.at(static_cast<std::size_t>(finding.Code));
    if (first) {
      ++first->Count;
      return;
    }
    finding.Weight = WeightOf(finding.Code);
    first = finding;
  }

  void NoteBlankLine(std::int32_t number) {
    if (target_.Kind != ImageKind::Firmware && blank_line_ == 0) blank_line_ = number;
  }

  /// False when a character from `begin` to `end`, as far as the line goes, is no digit.
  bool DigitsAreRight(std::string_view line, std::int32_t number, std::size_t begin,
                      std::size_t end, bool either_case) {
    for (std::size_t i = begin; i < std::min(end, line.size()); ++i) {
      if (DigitValue(line[i], either_case) >= 0) continue;
      Add({.Code = FindingCode::BadDigit,
           .Line = number,
           .Column = static_cast<std::int32_t>(i) + 1,
           .Found = static_cast<unsigned char>(line[i])});
      return false;
    }
    return true;
  }

  bool IsLongEnough(std::string_view line, std::int32_t number, std::size_t needed) {
    if (line.size() >= needed) return true;
    Add({.Code = FindingCode::ShortRecord,
         .Line = number,
         .Column = static_cast<std::int32_t>(line.size()) + 1,
         .Expected = static_cast<std::int32_t>(needed + kChecksumDigits),
         .Found = static_cast<std::int32_t>(line.size())});
    return false;
  }

  /// Nothing when the line is no record that could be taken; why is noted.
  std::optional<Record> Decode(std::string_view line, std::int32_t number) {
    const bool either_case = target_.Kind == ImageKind::Firmware;
    if (!DigitsAreRight(line, number, core::kRecordCount, core::kRecordData, either_case) ||
        !IsLongEnough(line, number, core::kRecordData)) {
      return std::nullopt;
    }
    const Record record{.Line = line,
                        .Number = number,
                        .Count = Value(line.substr(core::kRecordCount, 2)),
                        .Address = Value(line.substr(core::kRecordAddress, 4)),
                        .Type = Value(line.substr(core::kRecordType, 2))};
    if (record.Type > kLargestType) {
      Add({.Code = FindingCode::UnknownType, .Line = number, .Found = record.Type});
      return std::nullopt;
    }
    // The readers take no data from other records, so the case of their digits changes nothing.
    if (!DigitsAreRight(line, number, core::kRecordData, record.DataEnd(),
                        either_case || record.Type != kData) ||
        !IsLongEnough(line, number, record.DataEnd())) {
      return std::nullopt;
    }
    CheckEndOfLine(record);
    return record;
  }

  void CheckEndOfLine(const Record& record) {
    const std::size_t end = record.DataEnd() + kChecksumDigits;
    if (record.Line.size() > end) {
      Add({.Code = FindingCode::LongRecord,
           .Line = record.Number,
           .Column = static_cast<std::int32_t>(end) + 1,
           .Expected = static_cast<std::int32_t>(end),
           .Found = static_cast<std::int32_t>(record.Line.size())});
    }
    const std::int32_t expected = ChecksumOf(record);
    const std::int32_t found = ChecksumIn(record);
    const bool may_be_own = target_.Kind != ImageKind::Firmware;
    if (found == expected || (may_be_own && IsOwnShortForm(record))) return;
    const bool only_ends = record.Type == kEnd && record.Count == 0;
    Add({.Code = only_ends ? FindingCode::WrongEndChecksum : FindingCode::WrongChecksum,
         .Line = record.Number,
         .Column = static_cast<std::int32_t>(record.DataEnd()) + 1,
         .Expected = expected,
         .Found = found});
  }

  void Take(const Record& record) {
    if (record.Type == kEnd && end_line_ == 0) end_line_ = record.Number;
    if (record.Type == kSegmentAddress || record.Type == kLinearAddress) return SetOffset(record);
    if (record.Type != kData || record.Count == 0) return;
    has_data_ = true;
    if (end_line_ != 0) {
      Add({.Code = FindingCode::RecordsAfterEnd, .Line = record.Number, .OtherLine = end_line_});
    }
    if (offset_ == 0) return Store(record);
    Add({.Code = FindingCode::ExtendedAddress,
         .Line = offset_line_,
         .Address = offset_,
         .Expected = record.Address,
         .OtherLine = record.Number});
  }

  void SetOffset(const Record& record) {
    constexpr std::int32_t kAddressBytes = 2;
    constexpr unsigned kSegmentShift = 4;
    constexpr unsigned kLinearShift = 16;
    std::uint32_t value = 0;
    for (std::int32_t i = 0; i < std::min(record.Count, kAddressBytes); ++i) {
      value = 256 * value + static_cast<std::uint32_t>(record.DataByte(i));
    }
    offset_ = value << (record.Type == kLinearAddress ? kLinearShift : kSegmentShift);
    offset_line_ = record.Number;
  }

  /// Each kind of finding is noted once for a record, and a contradiction is no overlap beside.
  void Store(const Record& record) {
    std::optional<Finding> overlap;
    std::optional<Finding> contradiction;
    std::optional<Finding> beyond_chip;
    for (std::int32_t i = 0; i < record.Count; ++i) {
      Finding finding = AtByte(record, i);
      const std::int32_t address = record.Address + i;
      if (address > LastAddress(target_.Kind)) {
        finding.Code = FindingCode::DataBeyondBuffer;
        Add(finding);
        break;
      }
      const auto index = static_cast<std::size_t>(address);
      finding.OtherLine = std::exchange(lines_[index], record.Number);
      finding.Expected = std::exchange(values_[index], static_cast<std::uint8_t>(finding.Found));
      if (finding.OtherLine != 0) {
        const bool same = finding.Expected == finding.Found;
        finding.Code = same ? FindingCode::OverlappingRecords : FindingCode::ContradictingRecords;
        std::optional<Finding>& first = same ? overlap : contradiction;
        if (!first) first = finding;
      }
      finding.Code = FindingCode::DataBeyondChip;
      const bool beyond = target_.Bytes > 0 && address >= target_.Bytes;
      if (beyond && finding.Found != core::kBlank && !beyond_chip) beyond_chip = finding;
    }
    if (contradiction) {
      Add(*contradiction);
    } else if (overlap) {
      Add(*overlap);
    }
    if (beyond_chip) Add(*beyond_chip);
  }

  static Finding AtByte(const Record& record, std::int32_t index) {
    return {.Line = record.Number,
            .Column = static_cast<std::int32_t>(core::kRecordData) + 2 * index + 1,
            .Address = static_cast<std::uint32_t>(record.Address + index),
            .Found = record.DataByte(index)};
  }

  [[nodiscard]] ImageShare Share() const {
    const std::size_t unit = target_.Kind == ImageKind::Data ? 1 : 2;
    ImageShare share;
    for (std::size_t address = 0; address < kAddresses; address += unit) {
      const auto* const first = values_.data() + address;
      if (std::all_of(first, first + unit, [](auto byte) { return byte == core::kBlank; })) {
        continue;
      }
      ++share.Given;
      const bool inside = target_.Bytes == 0 || static_cast<std::int32_t>(address) < target_.Bytes;
      if (inside) ++share.Inside;
    }
    return share;
  }

  const ImageTarget& target_;
  std::array<std::optional<Finding>, kCodes> found_;
  /// What the file gives each address, and the line that does; 0 = none.
  std::vector<std::uint8_t> values_ = std::vector<std::uint8_t>(kAddresses, core::kBlank);
  std::vector<std::int32_t> lines_ = std::vector<std::int32_t>(kAddresses, 0);
  std::uint32_t offset_ = 0;  ///< of the last extended address
  std::int32_t offset_line_ = 0;
  std::int32_t end_line_ = 0;
  std::int32_t blank_line_ = 0;  ///< the first one since the last line that is not blank
  bool has_data_ = false;
};

}  // namespace

std::string_view Name(FindingCode code) { return kNames.at(static_cast<std::size_t>(code)); }

const Finding* ImageCheck::FirstRefusal() const {
  const auto first = std::ranges::find(Findings, Severity::Refuse, &Finding::Weight);
  return first == Findings.end() ? nullptr : &*first;
}

ImageCheck CheckImage(std::string_view content, const ImageTarget& target) {
  Checker checker(target);
  for (std::int32_t number = 1; !content.empty(); ++number) {
    checker.Look(core::TakeLine(content), number);
  }
  return checker.Finish();
}

}  // namespace fenwright::image
