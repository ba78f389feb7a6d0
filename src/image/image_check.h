#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/sentence.h"

namespace fenwright::image {

/// What a HEX file is for. Each has a reader of its own.
enum class ImageKind {
  Code,     ///< the flash: upper-case digits, a line that is no record ends the reading
  Data,     ///< the EEPROM: likewise, and a smaller buffer
  Firmware  ///< the board's own firmware: digits of either case, blank lines are passed over
};

struct ImageTarget {
  ImageKind Kind = ImageKind::Code;
  std::int32_t Bytes = 0;      ///< size of the memory, 0 = not known, so nothing lies beyond it
  std::string_view Chip = {};  ///< its name, for the texts
};

/// What can be found. Findings of one line stand in this order.
enum class FindingCode {
  NotARecord,            ///< a line that does not start with ":"; the reading ends there
  BlankLine,             ///< the same, but only blank lines follow
  UnknownType,           ///< a record type that does not exist
  BadDigit,              ///< a character that is no (upper-case) hexadecimal digit, read as 0
  ShortRecord,           ///< the line ends before its data do; what is missing is read as 0
  LongRecord,            ///< characters stand behind the checksum
  WrongChecksum,         ///< the record does not add up, or has no whole checksum
  WrongEndChecksum,      ///< the same in an end record, which has no data to damage
  ExtendedAddress,       ///< an address offset other than 0, and data behind it: it is not followed
  DataBeyondBuffer,      ///< an address beyond the memory of every chip; the reading ends there
  DataBeyondChip,        ///< a byte that is not blank beyond the memory of the chip
  RecordsAfterEnd,       ///< data behind the end record, which are loaded all the same
  ContradictingRecords,  ///< two records give one address different bytes; the later one counts
  OverlappingRecords,    ///< two records give one address the same byte
  NoData,                ///< a code file, or firmware, without a byte of data
  NoEndRecord            ///< the file may have been cut short
};

/// The code in lower-case words with hyphens: "extended-address".
std::string_view Name(FindingCode code);

enum class Severity {
  Note,   ///< what is programmed is what the file means
  Refuse  ///< it is not, or the file cannot be trusted
};

/// The first of all findings of one code.
struct Finding {
  FindingCode Code = FindingCode::NotARecord;
  Severity Weight = Severity::Refuse;
  std::int32_t Line = 0;       ///< counted from 1, 0 = the file as a whole
  std::int32_t Column = 0;     ///< in bytes, counted from 1, 0 = the line as a whole
  std::int32_t Count = 1;      ///< how many lines have it
  std::uint32_t Address = 0;   ///< byte address; for an extended address the offset
  std::int32_t Expected = 0;   ///< checksum, line length, or the byte that another line gives
  std::int32_t Found = 0;      ///< the same in this line; -1 = a checksum that is not whole
  std::int32_t OtherLine = 0;  ///< the line that it contradicts, or of the end record
  core::Sentence Cause;        ///< what is wrong, with its numbers; no line, no file name
  core::Sentence Cure;         ///< what to do
};

/// Words for code and firmware, bytes for data.
struct ImageShare {
  std::int32_t Given = 0;  ///< those that the file gives at all, each once; blank ones do not count
  std::int32_t Inside = 0;  ///< those of them inside the memory
};

struct ImageCheck {
  std::vector<Finding> Findings;  ///< one a code at most, by line; those of the whole file last
  ImageShare Share;

  /// The first finding that speaks against programming the file, or null.
  [[nodiscard]] const Finding* FirstRefusal() const;
};

/// Compares what a HEX file means with what its reader makes of it. Lines end in CR LF, LF or CR.
/// Data behind an extended address count for nothing but that finding. It takes the time of one
/// look at each character and a memory that does not depend on the file.
ImageCheck CheckImage(std::string_view content, const ImageTarget& target);

}  // namespace fenwright::image
