#include "image/file_summary.h"

#include <cstdint>
#include <string_view>
#include <utility>

#include "image/buffers.h"
#include "image/dump_files.h"

namespace fenwright::image {
namespace {

std::string_view NameOf(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\");
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string Usage(std::int32_t used, std::int32_t size, std::string_view unit) {
  constexpr std::int32_t kAll = 100;
  const std::int32_t percent = size > 0 ? (kAll * used + size - 1) / size : 0;
  return std::to_string(used) + " / " + std::to_string(size) + " " + std::string(unit) + " (" +
         std::to_string(percent) + " %)";
}

std::string LineNumber(std::int32_t line) { return std::to_string(line) + "行目"; }

/// What looks wrong about a file; "" or lines that each start with a line break.
std::string Doubts(std::string_view path, const HexReadReport& report, std::int32_t memory_bytes) {
  const std::string start = "\n⚠ " + std::string(NameOf(path)) + " : ";
  std::string text;
  if (report.End == HexReadEnd::BadLine) {
    text += start + LineNumber(report.StoppedAtLine) +
            "が「:」で始まっていないため、そこまでしか読み込んでいません。"
            "ファイルを直し、プログラムを再起動してください。";
  }
  if (report.End == HexReadEnd::OutsideBuffer) {
    text += start + LineNumber(report.StoppedAtLine) +
            "のアドレスがバッファの範囲を超えているため、そこまでしか読み込んでいません。";
  }
  if (report.End == HexReadEnd::NotOpened) {
    text += start + "読み込めませんでした。";
  }
  if (report.FirstDoubtfulLine != 0) {
    text += start + LineNumber(report.FirstDoubtfulLine) +
            "に16進数字(0-9、A-F)でない文字があるか、行が短いため、0として読み込みました。";
  }
  if (report.FirstBadChecksumLine != 0) {
    text += start + LineNumber(report.FirstBadChecksumLine) + "のチェックサムが合いません。";
  }
  if (report.HighestAddress >= memory_bytes) {
    text += start + "デバイスの容量を超えるデータがあります。超えた分は書き込まれません。";
  }
  return text;
}

}  // namespace

std::string DescribeCodeFile(const core::AppState& state, const OpenReport& report) {
  // A code file that could not be opened has had its name forgotten.
  const std::string& path = state.CodeFileName;
  if (!report.CodeFileFound || !report.KnownExtension || path.empty()) return "";
  return std::string(NameOf(path)) + "\n" + Usage(UsedFlashWords(state), state.FlashWords, "word") +
         Doubts(path, report.Code, 2 * state.FlashWords);
}

std::string DescribeDataFile(const core::AppState& state, const OpenReport& report) {
  if (!report.DataFileFound) return "";
  const std::string& path = state.DataFileName;
  return std::string(NameOf(path)) + "\n" +
         Usage(UsedEepromBytes(state), state.EepromBytes, "byte") +
         Doubts(path, report.Data, state.EepromBytes);
}

std::string DescribeRefusedDumps(const core::AppState& state) {
  std::string text;
  for (const auto& [name, refusal] : {std::pair(kFlashDumpFile, &state.FlashDumpRefusal),
                                      std::pair(kEepromDumpFile, &state.EepromDumpRefusal)}) {
    if (refusal->empty()) continue;
    text += (text.empty() ? "⚠ " : "\n⚠ ") + std::string(name) +
            " を書き込めません。表示はメモリーの内容です。(" + *refusal + ")";
  }
  return text;
}

std::string DescribeReadMemory(const core::AppState& state) {
  std::string text = "デバイスから読み出した内容\n" +
                     Usage(UsedFlashWords(state), state.FlashWords, "word") + "\n" +
                     Usage(UsedEepromBytes(state), state.EepromBytes, "byte");
  if (!state.CodeFileName.empty()) {
    text += "\n上書き保存の先 :\n" + std::string(NameOf(state.CodeFileName));
    if (!state.DataFileName.empty()) text += "\n" + std::string(NameOf(state.DataFileName));
  }
  return text;
}

}  // namespace fenwright::image
