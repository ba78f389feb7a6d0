#include "image/hex_writer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "core/hex_format.h"
#include "core/trace_log.h"
#include "image/buffers.h"
#include "image/old_content.h"

namespace fenwright::image {
namespace {

constexpr std::size_t kElementsPerRecord = 8;
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kEndRecordLine = ":00000001FF";

using Lines = std::vector<std::string>;

/// The file's lines, made of two-byte elements of four digits each. Elements that do not fill a
/// record are dropped.
Lines RecordLines(const std::vector<std::string>& elements) {
  Lines lines;
  std::int16_t link_error = 0;  // every digit here is our own
  std::string line;
  for (std::size_t k = 0; k < elements.size(); ++k) {
    if (k % kElementsPerRecord == 0) {
      line = ":10" + core::HexAddress(static_cast<std::int32_t>(2 * k)) + "00";
    }
    line += elements[k];
    if (k % kElementsPerRecord == kElementsPerRecord - 1) {
      lines.push_back(RecordChecksum(line, link_error));
    }
  }
  lines.emplace_back(kEndRecordLine);
  return lines;
}

std::string Element(std::uint8_t first, std::uint8_t second) {
  return core::HexByte(first) + core::HexByte(second);
}

Lines CodeFileLines(const core::AppState& state) {
  std::vector<std::string> elements;
  for (std::size_t word = 0; word < static_cast<std::size_t>(state.FlashWords); ++word) {
    elements.push_back(Element(state.FlashBuffer[2 * word + 1], state.FlashBuffer[2 * word]));
  }
  return RecordLines(elements);
}

Lines DataFileLines(const core::AppState& state) {
  // Deliberate: as many two-byte elements as the EEPROM has bytes, and two more that fill no
  // record.
  const auto last_element = static_cast<std::size_t>(state.EepromBytes) + 1;
  std::vector<std::string> elements;
  for (std::size_t k = 0; k <= last_element; ++k) {
    elements.push_back(Element(state.EepromBuffer[2 * k], state.EepromBuffer[2 * k + 1]));
  }
  return RecordLines(elements);
}

HexWriteReport NotOpenedAgain() {
  return {.End = HexWriteEnd::NotOpened,
          .Reason =
              "前に開いたHEXファイルに不正な行があったため、HEXファイルを保存できません。"
              "プログラムを再起動してください。"};
}

bool WriteLines(platform::FileWriter& file, const Lines& lines) {
  for (const std::string& line : lines) {
    if (!file.Write(line + std::string(kLineEnd))) return false;
  }
  return file.Close();
}

HexWriteReport WriteFile(core::RunContext& context, std::string_view path, const Lines& lines) {
  platform::FileResult result;
  const std::unique_ptr<platform::FileWriter> file =
      context.Storage.Files.OpenForWriting(path, result);
  if (file == nullptr) {
    const bool refused = result.Code == platform::FileResult::Status::AccessRefused;
    return {.End = refused ? HexWriteEnd::AccessRefused : HexWriteEnd::NotOpened,
            .Reason = std::move(result.Reason)};
  }
  if (WriteLines(*file, lines)) return {};
  return {.End = HexWriteEnd::CutShort, .Reason = file->Result().Reason};
}

void ShowFailure(core::RunContext& context, HexWriteEnd end, const std::string& detail) {
  context.Screen.MessageBoxes.ShowWithDetail(screen::MessageIcon::Critical, "ファイル保存",
                                             end == HexWriteEnd::AccessRefused
                                                 ? "リードオンリーファイルにアクセスしました。"
                                                 : "ファイル保存できませんでした。",
                                             detail);
  if (!detail.empty()) core::TraceLog(context).TryAppendMessage(detail);
}

HexWriteReport WriteHexFile(core::RunContext& context, std::string_view path, const Lines& lines) {
  if (context.State.HexFileLeftOpen) {
    HexWriteReport report = NotOpenedAgain();
    ShowFailure(context, report.End, "");
    return report;
  }
  OldContentKeeper old_content(context, path);
  HexWriteReport report = WriteFile(context, path, lines);
  if (report.End == HexWriteEnd::AccessRefused) {
    old_content.NoteUntouched();
  } else {
    old_content.NoteOverwritten();
  }
  if (report) {
    old_content.TraceMissingCopy();
  } else {
    ShowFailure(context, report.End, old_content.Describe());
  }
  return report;
}

}  // namespace

HexWriteReport WriteCodeHexFile(core::RunContext& context) {
  return WriteHexFile(context, context.State.CodeSaveFileName, CodeFileLines(context.State));
}

HexWriteReport WriteDataHexFile(core::RunContext& context) {
  return WriteHexFile(context, context.State.DataSaveFileName, DataFileLines(context.State));
}

}  // namespace fenwright::image
