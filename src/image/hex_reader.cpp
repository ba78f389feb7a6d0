#include "image/hex_reader.h"

#include <cstddef>
#include <string_view>
#include <vector>

#include "core/device_selection.h"
#include "core/hex_record.h"
#include "core/status.h"
#include "core/text_lines.h"
#include "image/buffers.h"

namespace fenwright::image {
namespace {

constexpr std::int32_t kDataRecord = 0;

/// One memory as a reader sees it.
struct Target {
  std::string_view FileName;
  std::vector<std::uint8_t>& Buffer;
  std::int32_t LastIndex;
  bool SwapsBytesOfWords;  ///< a HEX file has the low byte of a word first, the flash buffer last
  std::string_view BadLineText;
  ImageTarget Checked;  ///< the same memory as the check sees it
};

/// Character of a line, counted from 0; NUL, which is no digit, beyond its end.
char At(std::string_view line, std::size_t position) {
  return position < line.size() ? line[position] : '\0';
}

std::int32_t ByteAt(std::string_view line, std::size_t position, std::int16_t& link_error) {
  return HexWord('0', '0', At(line, position), At(line, position + 1), link_error);
}

/// Stores one record; false when a byte would lie beyond the buffer.
bool StoreRecord(std::string_view line, const Target& target, std::int16_t& link_error) {
  const std::int32_t count = ByteAt(line, core::kRecordCount, link_error);
  const std::int32_t address =
      HexWord(At(line, core::kRecordAddress), At(line, core::kRecordAddress + 1),
              At(line, core::kRecordAddress + 2), At(line, core::kRecordAddress + 3), link_error);
  const std::int32_t type = ByteAt(line, core::kRecordType, link_error);
  if (type != kDataRecord) return true;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t value =
        ByteAt(line, core::kRecordData + 2 * static_cast<std::size_t>(i), link_error);
    const std::int32_t byte_address = address + i;
    const std::int32_t index = target.SwapsBytesOfWords ? byte_address ^ 1 : byte_address;
    if (index > target.LastIndex) return false;
    target.Buffer[static_cast<std::size_t>(index)] = static_cast<std::uint8_t>(value);
  }
  return true;
}

HexReadReport ReadHexFile(core::RunContext& context, const Target& target) {
  core::AppState& state = context.State;
  HexReadReport report;
  if (target.FileName.empty()) {
    report.End = HexReadEnd::NoName;
    return report;
  }
  if (state.HexFileLeftOpen) {
    report.End = HexReadEnd::NotOpened;
    report.Reason =
        "前に開いたHEXファイルに不正な行があったため、HEXファイルを開けません。"
        "プログラムを再起動してください。";
    return report;
  }
  std::string content;
  if (const platform::FileResult opened = context.Storage.Files.Read(target.FileName, content);
      !opened) {
    report.End = HexReadEnd::NotOpened;
    report.Reason = opened.Reason;
    report.Cause = opened.Cause;
    return report;
  }
  report.Check = CheckImage(content, target.Checked);
  std::string_view rest = content;
  for (std::int32_t line_number = 1; !rest.empty(); ++line_number) {
    const std::string_view line = core::TakeLine(rest);
    state.LineText = line;
    if (!line.starts_with(':')) {
      core::ShowStatus(context, target.BadLineText);
      // Deliberate: this way out skips the close, and nothing else closes the file.
      state.HexFileLeftOpen = true;
      report.End = HexReadEnd::BadLine;
      report.StoppedAtLine = line_number;
      return report;
    }
    if (!StoreRecord(line, target, state.LinkError)) {
      report.End = HexReadEnd::OutsideBuffer;
      report.StoppedAtLine = line_number;
      return report;
    }
  }
  return report;
}

std::string_view SelectedChip(const core::RunContext& context) {
  const core::DeviceEntry* const device = core::SelectedDevice(context);
  return device == nullptr ? std::string_view() : device->ChipName;
}

}  // namespace

HexReadReport ReadCodeHexFile(core::RunContext& context) {
  return ReadHexFile(context, {.FileName = context.State.CodeFileName,
                               .Buffer = context.State.FlashBuffer,
                               .LastIndex = core::kFlashBufferLast,
                               .SwapsBytesOfWords = true,
                               .BadLineText = "HEX ファイルのオープンエラー",
                               .Checked = {.Kind = ImageKind::Code,
                                           .Bytes = 2 * context.State.FlashWords,
                                           .Chip = SelectedChip(context)}});
}

HexReadReport ReadDataHexFile(core::RunContext& context) {
  return ReadHexFile(context, {.FileName = context.State.DataFileName,
                               .Buffer = context.State.EepromBuffer,
                               .LastIndex = core::kEepromBufferLast,
                               .SwapsBytesOfWords = false,
                               .BadLineText = "EEP  ファイルのオープンエラー",
                               .Checked = {.Kind = ImageKind::Data,
                                           .Bytes = context.State.EepromBytes,
                                           .Chip = SelectedChip(context)}});
}

}  // namespace fenwright::image
