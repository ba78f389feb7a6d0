#include "image/file_summary.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "core/file_reason.h"
#include "image/dump_files.h"
#include "image/file_names.h"

namespace fenwright::image {
namespace {

/// How much of a memory is used, in parts of it only where all of it fits.
std::string Usage(const ImageShare& share, std::int32_t size, std::string_view unit) {
  const std::string text =
      std::to_string(share.Given) + " / " + std::to_string(size) + " " + std::string(unit);
  if (share.Inside < share.Given) return text;
  constexpr std::int32_t kAll = 100;
  const std::int32_t percent = size > 0 ? (kAll * share.Given + size - 1) / size : 0;
  return text + " (" + std::to_string(percent) + " %)";
}

/// Elements of a buffer, of so many bytes each, that are not blank.
ImageShare UsedCells(const std::vector<std::uint8_t>& buffer, std::int32_t count,
                     std::ptrdiff_t bytes) {
  ImageShare share;
  auto cell = buffer.begin();
  for (std::int32_t i = 0; i < count; ++i, cell += bytes) {
    if (std::count(cell, cell + bytes, core::kBlank) != bytes) ++share.Given;
  }
  share.Inside = share.Given;
  return share;
}

std::string DoubtStart(std::string_view path) { return "⚠ " + FileNameOf(path) + " : "; }

std::string DoubtLine(std::string_view path, const Finding& finding) {
  const std::string line = finding.Line == 0 ? "" : std::to_string(finding.Line) + "行目 : ";
  return DoubtStart(path) + line + finding.Cause.Japanese + finding.Cure.Japanese;
}

std::string NotReadLine(std::string_view path) {
  return DoubtStart(path) + "読み込めませんでした。";
}

/// A file with a blank last line is whole, but no other can be opened after it.
bool IsTold(const Finding& finding) {
  return finding.Weight == Severity::Refuse || finding.Code == FindingCode::BlankLine;
}

/// What looks wrong about a file; "" or lines that each start with a line break.
std::string Doubts(std::string_view path, const HexReadReport& report) {
  if (report.End == HexReadEnd::NotOpened) return "\n" + NotReadLine(path);
  std::string text;
  for (const Finding& finding : report.Check.Findings) {
    if (IsTold(finding)) text += "\n" + DoubtLine(path, finding);
  }
  return text;
}

}  // namespace

std::string DescribeCodeFile(const core::AppState& state, const OpenReport& report) {
  // A code file that could not be opened has had its name forgotten.
  const std::string& path = state.CodeFileName;
  if (!report.CodeFileFound || !report.KnownExtension || path.empty()) return "";
  return FileNameOf(path) + "\n" + Usage(report.Code.Check.Share, state.FlashWords, "word") +
         Doubts(path, report.Code);
}

std::string DescribeDataFile(const core::AppState& state, const OpenReport& report) {
  if (!report.DataFileFound) return "";
  const std::string& path = state.DataFileName;
  return FileNameOf(path) + "\n" + Usage(report.Data.Check.Share, state.EepromBytes, "byte") +
         Doubts(path, report.Data);
}

std::string DescribeDoubt(std::string_view path, const HexReadReport& report) {
  if (report.End == HexReadEnd::NotOpened) return NotReadLine(path);
  const Finding* const refusal = report.Check.FirstRefusal();
  return refusal == nullptr ? "" : DoubtLine(path, *refusal);
}

std::string DescribeRefusedDumps(const core::AppState& state) {
  std::string text;
  for (const auto& [name, refusal] : {std::pair(kFlashDumpFile, &state.FlashDumpRefusal),
                                      std::pair(kEepromDumpFile, &state.EepromDumpRefusal)}) {
    if (*refusal) continue;
    text += (text.empty() ? "⚠ " : "\n⚠ ") + std::string(name) +
            " を書き込めません。表示はメモリーの内容です。(" + core::DescribeReason(*refusal) + ")";
  }
  return text;
}

std::string FlashUsage(const core::AppState& state) {
  return Usage(UsedCells(state.FlashBuffer, state.FlashWords, 2), state.FlashWords, "word");
}

std::string EepromUsage(const core::AppState& state) {
  return Usage(UsedCells(state.EepromBuffer, state.EepromBytes, 1), state.EepromBytes, "byte");
}

}  // namespace fenwright::image
