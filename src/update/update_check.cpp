#include "update/update_check.h"

#include "core/text_lines.h"
#include "image/image_check.h"
#include "update/update_words.h"

namespace fenwright::update {
namespace {

using image::Finding;
using image::FindingCode;

/// None for what an update need not care about.
ImageFault FaultOf(const Finding& finding) {
  switch (finding.Code) {
    case FindingCode::NotARecord:
    case FindingCode::UnknownType:
    case FindingCode::BadDigit:
    case FindingCode::ShortRecord:
    case FindingCode::LongRecord:
      return ImageFault::BrokenLine;
    case FindingCode::WrongChecksum:
    case FindingCode::WrongEndChecksum:
      return finding.Found < 0 ? ImageFault::BrokenLine : ImageFault::WrongChecksum;
    case FindingCode::ExtendedAddress:
      return ImageFault::UnusedAddress;
    case FindingCode::RecordsAfterEnd:
      return ImageFault::DataAfterEnd;
    case FindingCode::ContradictingRecords:
      return ImageFault::Contradiction;
    case FindingCode::NoData:
      return ImageFault::NoDataRecord;
    case FindingCode::NoEndRecord:
      return ImageFault::NoEndRecord;
    case FindingCode::BlankLine:
    case FindingCode::DataBeyondBuffer:
    case FindingCode::DataBeyondChip:
    case FindingCode::OverlappingRecords:
      break;
  }
  return ImageFault::None;
}

void TakeFirstFinding(std::string_view content, ImageReport& report) {
  const image::ImageCheck check = image::CheckImage(content, {.Kind = image::ImageKind::Firmware});
  for (const Finding& finding : check.Findings) {
    report.Fault = FaultOf(finding);
    report.FaultLine = finding.Line;
    if (report.Fault != ImageFault::None) return;
  }
  report.FaultLine = 0;
}

/// Words of a data record, and what is odd about it.
void TakeRecord(std::string_view line, std::int32_t number, ImageReport& report) {
  const auto head = ReadRecordHead(line);
  if (!IsDataRecord(line) || !head || head->Count == 0) return;
  for (std::int32_t offset = 0; HasWordAt(*head, offset); offset += kWordCharacters) {
    const auto word = ReadWord(line, *head, offset);
    if (word) ++(IsSent(word->Address) ? report.WordsToSend : report.WordsToSkip);
  }
  if (head->Count % 2 != 0 && report.FirstOddLine == 0) report.FirstOddLine = number;
  // A fault of the file as a whole comes behind those of its lines.
  const bool first = report.FaultLine == 0 || number < report.FaultLine;
  if (head->Address % 2 != 0 && first) {
    report.Fault = ImageFault::OddAddress;
    report.FaultLine = number;
  }
}

}  // namespace

ImageReport CheckImage(std::string_view content) {
  ImageReport report;
  TakeFirstFinding(content, report);
  std::string_view rest = content;
  for (std::int32_t number = 1; !rest.empty(); ++number) {
    TakeRecord(core::TakeLine(rest), number, report);
  }
  if (report.Fault == ImageFault::None && report.WordsToSend == 0) {
    report.Fault = ImageFault::NoWordToSend;
  }
  return report;
}

}  // namespace fenwright::update
