#include "image/image_texts.h"

#include "core/hex_format.h"

namespace fenwright::image {
namespace {

using core::Sentence;

Sentence operator+(const Sentence& first, const Sentence& second) {
  return {first.Japanese + second.Japanese, first.English + second.English};
}

std::string Hex(std::int32_t byte) { return core::HexByte(byte); }

/// At least four digits.
std::string HexAddress(std::uint32_t address) {
  constexpr std::uint32_t kFourDigits = 0x10000;
  return "0x" + (address < kFourDigits ? core::HexAddress(static_cast<std::int32_t>(address))
                                       : core::HexUnpadded(address));
}

std::string Offset(std::uint32_t offset) {
  return "0x" + core::HexAddress(static_cast<std::int32_t>(offset >> 16)) +
         core::HexAddress(static_cast<std::int32_t>(offset & 0xFFFF));
}

/// A character as it is where that can be read, its code otherwise.
std::string Character(std::int32_t code) {
  constexpr std::int32_t kFirstVisible = 0x21;
  constexpr std::int32_t kLastVisible = 0x7E;
  if (code < kFirstVisible || code > kLastVisible) return "0x" + Hex(code);
  return std::string(1, static_cast<char>(code));
}

Sentence MakeAgain() { return {"ファイルを作り直してください。", "make the file again"}; }

Sentence OfNotARecord() {
  return {"「:」で始まっていないため、そこまでしか読み込んでいません。",
          "the line does not start with \":\", so nothing from here on is read"};
}

Sentence OfBlankLine() {
  return {"空の行のため、そこで読み込みを終わりました。データはすべて読み込んでいます。",
          "the line is blank, so the reading ends here, with all data read"};
}

Sentence OfUnknownType(const Finding& finding) {
  const std::string type = Hex(finding.Found);
  return {"レコードの種類 " + type + " はないため、読み飛ばしました。",
          "there is no record type " + type + ", so the line is passed over"};
}

Sentence OfBadDigit(const Finding& finding) {
  const std::string column = std::to_string(finding.Column);
  const std::string character = Character(finding.Found);
  return {column + "文字目の " + character +
              " は16進数字(0-9、A-F)ではないため、0として読み込みました。",
          "character " + column + ", \"" + character +
              "\", is no upper-case hexadecimal digit and is read as 0"};
}

Sentence OfShortRecord(const Finding& finding) {
  const std::string needed = std::to_string(finding.Expected);
  const std::string length = std::to_string(finding.Found);
  return {needed + "文字のはずの行が" + length +
              "文字しかないため、足りない文字を0として読み込みました。",
          "the line has " + length + " characters and needs " + needed +
              ": those that are missing are read as 0"};
}

Sentence OfLongRecord() {
  return {"チェックサムの後にある文字は読み込んでいません。",
          "there are characters behind the checksum, which are not read"};
}

Sentence OfChecksum(const Finding& finding) {
  const std::string expected = Hex(finding.Expected);
  if (finding.Found < 0) {
    return {"2文字のチェックサムがありません。正しくは " + expected + " です。",
            "there is no checksum of two digits; the record adds up to " + expected};
  }
  const std::string found = Hex(finding.Found);
  return {"チェックサムが合いません。" + found + " ですが、正しくは " + expected + " です。",
          "wrong checksum: it is " + found + ", the record adds up to " + expected};
}

Sentence OfExtendedAddress(const Finding& finding) {
  const std::string offset = Offset(finding.Address);
  const std::string address = HexAddress(static_cast<std::uint32_t>(finding.Expected));
  const std::string line = std::to_string(finding.OtherLine);
  return {"拡張アドレス " + offset + " は使われないため、" + line + "行目からのデータを " +
              address + " 番地から読み込みました。",
          "the extended address " + offset + " is not followed: the data from line " + line +
              " on are taken for address " + address + " onwards"};
}

Sentence OfDataBeyondBuffer(const Finding& finding) {
  const std::string address = HexAddress(finding.Address);
  return {
      "アドレス " + address + " がバッファの範囲を超えているため、そこまでしか読み込んでいません。",
      "address " + address +
          " lies beyond the memory of every device, so nothing from here on is read"};
}

Sentence OfDataBeyondChip(const Finding& finding, const ImageTarget& target,
                          const ImageShare& share) {
  const bool words = target.Kind != ImageKind::Data;
  const Sentence unit = words ? Sentence{" word", " words"} : Sentence{" byte", " bytes"};
  const std::string address = HexAddress(finding.Address);
  const std::string last = HexAddress(static_cast<std::uint32_t>(target.Bytes - 1));
  const std::string chip(target.Chip);
  const std::string given = std::to_string(share.Given);
  const std::string lost = std::to_string(share.Given - share.Inside);
  return {"アドレス " + address + " は " + chip + " の容量(" + last + " まで)を超えています。" +
              given + unit.Japanese + " のうち " + lost + unit.Japanese + " は書き込まれません。",
          "address " + address + " lies beyond the memory of " + chip + ", which ends at " + last +
              ": " + lost + " of the file's " + given + unit.English + " are not programmed"};
}

Sentence OfRecordsAfterEnd(const Finding& finding) {
  const std::string line = std::to_string(finding.OtherLine);
  return {line + "行目のエンドレコードの後のデータも読み込みました。",
          "data behind the end record of line " + line + " are loaded as well"};
}

Sentence OfContradiction(const Finding& finding) {
  const std::string address = HexAddress(finding.Address);
  const std::string line = std::to_string(finding.OtherLine);
  return {"アドレス " + address + " は " + Hex(finding.Found) + " ですが、" + line + "行目では " +
              Hex(finding.Expected) + " です。後の行の値を読み込みました。",
          "address " + address + " is " + Hex(finding.Found) + " here and " +
              Hex(finding.Expected) + " in line " + line + "; the later line counts"};
}

Sentence OfOverlap(const Finding& finding) {
  const std::string address = HexAddress(finding.Address);
  const std::string line = std::to_string(finding.OtherLine);
  return {"アドレス " + address + " は" + line + "行目にもありますが、値は同じです。",
          "address " + address + " is in line " + line + " too, with the same value"};
}

Sentence CauseOf(const Finding& finding, const ImageTarget& target, const ImageShare& share) {
  switch (finding.Code) {
    case FindingCode::NotARecord:
      return OfNotARecord();
    case FindingCode::BlankLine:
      return OfBlankLine();
    case FindingCode::UnknownType:
      return OfUnknownType(finding);
    case FindingCode::BadDigit:
      return OfBadDigit(finding);
    case FindingCode::ShortRecord:
      return OfShortRecord(finding);
    case FindingCode::LongRecord:
      return OfLongRecord();
    case FindingCode::WrongChecksum:
    case FindingCode::WrongEndChecksum:
      return OfChecksum(finding);
    case FindingCode::ExtendedAddress:
      return OfExtendedAddress(finding);
    case FindingCode::DataBeyondBuffer:
      return OfDataBeyondBuffer(finding);
    case FindingCode::DataBeyondChip:
      return OfDataBeyondChip(finding, target, share);
    case FindingCode::RecordsAfterEnd:
      return OfRecordsAfterEnd(finding);
    case FindingCode::ContradictingRecords:
      return OfContradiction(finding);
    case FindingCode::OverlappingRecords:
      return OfOverlap(finding);
    case FindingCode::NoData:
      return {"データがありません。", "has no data record"};
    case FindingCode::NoEndRecord:
      break;
  }
  return {"エンドレコード(:00000001FF)がなく、途中で切れている可能性があります。",
          "has no end record (:00000001FF); the file may have been cut short"};
}

/// The linker keeps the memories of these chips apart by offsets, which stay in the file unless
/// the section is left out of it, or moved.
Sentence CureOfExtendedAddress(std::uint32_t offset) {
  constexpr std::uint32_t kEeprom = 0x81;
  constexpr std::uint32_t kLastOther = 0x85;
  const std::uint32_t memory = offset >> 16;
  if (memory == kEeprom) {
    return {
        "avr-objcopyが書いたEEPROMのデータ(.eeprom)です。コードファイルは -R .eeprom を付けて、"
        "データファイルは -j .eeprom --change-section-lma .eeprom=0 を付けて作ってください。",
        "these are the EEPROM's data (.eeprom) as avr-objcopy writes them: make the code file with "
        "-R .eeprom, and the data file with -j .eeprom --change-section-lma .eeprom=0"};
  }
  if (memory > kEeprom && memory <= kLastOther) {
    return {
        "avr-objcopyが書いたヒューズビットなどの値です。"
        "-R .fuse -R .lock -R .signature を付けて作り直してください。",
        "these are fuse bits and the like as avr-objcopy writes them: make the file with "
        "-R .fuse -R .lock -R .signature"};
  }
  return {"選択したデバイス用のファイルか確認してください。",
          "make sure that the file is for this device"};
}

Sentence CureOfBadDigit(std::int32_t character) {
  if (character < 'a' || character > 'f') return MakeAgain();
  return {"大文字の16進数字でファイルを作り直してください。",
          "make the file with upper-case digits"};
}

Sentence CureOf(const Finding& finding) {
  switch (finding.Code) {
    case FindingCode::NotARecord:
      return {"ファイルを直し、プログラムを再起動してください。",
              "take the line out; a file without a \":\" in its lines is no Intel HEX file"};
    case FindingCode::BlankLine:
      return {"空の行を削除し、プログラムを再起動してください。", "delete the blank line"};
    case FindingCode::BadDigit:
      return CureOfBadDigit(finding.Found);
    case FindingCode::LongRecord:
    case FindingCode::WrongEndChecksum:
    case FindingCode::OverlappingRecords:
      return {"このまま使えます。", "it can be used as it is"};
    case FindingCode::WrongChecksum:
      return {"ファイルが壊れているか、手で書き換えられています。作り直してください。",
              "the file is damaged or was changed by hand: make it again"};
    case FindingCode::ExtendedAddress:
      return CureOfExtendedAddress(finding.Address);
    case FindingCode::DataBeyondBuffer:
      return {"選択したデバイス用のファイルか確認してください。",
              "make sure that the file is for this device"};
    case FindingCode::DataBeyondChip:
      return {"デバイスの選択と、そのデバイス用のファイルであることを確認してください。",
              "check the selected device, and that the file is for it"};
    case FindingCode::RecordsAfterEnd:
      return {
          "つないだファイルなら、途中のエンドレコードを除いてください。"
          "そうでなければ、作り直してください。",
          "if files were joined, take the end record between them out; otherwise make the file "
          "again"};
    case FindingCode::ContradictingRecords:
      return {"重なりのないファイルを作ってください。",
              "make the file of parts that do not overlap"};
    case FindingCode::NoData:
      return {"デバイスを消去するときは、イレースを使ってください。",
              "to blank a device, erase it"};
    case FindingCode::NoEndRecord:
      return {"ファイルを作り直すか、コピーし直してください。", "make the file, or copy it, again"};
    case FindingCode::UnknownType:
    case FindingCode::ShortRecord:
      break;
  }
  return MakeAgain();
}

/// For findings that several lines have. Two others tell their extent in other numbers.
Sentence More(const Finding& finding) {
  const bool told =
      finding.Code == FindingCode::ExtendedAddress || finding.Code == FindingCode::DataBeyondChip;
  const std::int32_t more = finding.Count - 1;
  if (more == 0 || told) return {};
  const std::string count = std::to_string(more);
  return {"(ほかに" + count + "行)",
          " (and " + count + (more == 1 ? " more line)" : " more lines)")};
}

}  // namespace

void Describe(Finding& finding, const ImageTarget& target, const ImageShare& share) {
  finding.Cause = CauseOf(finding, target, share) + More(finding);
  finding.Cure = CureOf(finding);
}

}  // namespace fenwright::image
