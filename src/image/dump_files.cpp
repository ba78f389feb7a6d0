#include "image/dump_files.h"

#include <cstddef>
#include <cstdint>

#include "core/hex_format.h"

namespace fenwright::image {
namespace {

constexpr std::size_t kBytesPerLine = 16;
/// Half-width middle dot in CP932, for a byte that is no printable ASCII character.
constexpr char kUnprintable = '\xA5';

void AppendCharacterColumn(std::string& text, const std::vector<std::uint8_t>& buffer,
                           std::size_t first) {
  for (std::size_t i = first; i < first + kBytesPerLine; ++i) {
    const std::uint8_t byte = buffer[i];
    text += byte >= 32 && byte <= 126 ? static_cast<char>(byte) : kUnprintable;
  }
}

/// Dump of `byte_count` bytes: cells of `bytes_per_cell` bytes, line addresses counted in cells.
std::string Dump(const std::vector<std::uint8_t>& buffer, std::size_t byte_count,
                 std::size_t bytes_per_cell) {
  std::string text;
  for (std::size_t first = 0; first < byte_count; first += kBytesPerLine) {
    text += core::HexAddress(static_cast<std::int32_t>(first / bytes_per_cell)) + ": ";
    for (std::size_t i = 0; i < kBytesPerLine; ++i) {
      text += core::HexByte(buffer[first + i]);
      if ((i + 1) % bytes_per_cell == 0) text += ' ';
    }
    AppendCharacterColumn(text, buffer, first);
    text += "\r\n";
  }
  return text;
}

/// A line has its address, a colon and a blank before its cells, each of which has a blank behind
/// it.
std::optional<screen::TextPlace> CellPlace(std::int32_t cell, std::int32_t cell_count,
                                           int bytes_per_cell) {
  if (cell < 0 || cell >= cell_count) return std::nullopt;
  constexpr int kAddressLength = 6;
  const int per_line = static_cast<int>(kBytesPerLine) / bytes_per_cell;
  const int length = 2 * bytes_per_cell;
  return screen::TextPlace{.Line = cell / per_line,
                           .Column = kAddressLength + cell % per_line * (length + 1),
                           .Length = length};
}

void WriteDump(core::RunContext& context, std::string_view file_name, const std::string& text,
               platform::FileResult& refusal) {
  const std::string path = context.State.AppFolder + std::string(file_name);
  refusal = context.Storage.Files.Write(path, text);
}

/// From memory when the file holds something else, or cannot be read.
void LoadView(core::RunContext& context, screen::View view, std::string_view file_name,
              const std::string& text, const platform::FileResult& refusal) {
  const std::string path = context.State.AppFolder + std::string(file_name);
  screen::Views& views = context.Screen.Views;
  if (refusal && views.Load(view, path)) return;
  views.ShowText(view, text);
}

}  // namespace

std::string FlashDump(const core::AppState& state) {
  return Dump(state.FlashBuffer, 2 * static_cast<std::size_t>(state.FlashWords), 2);
}

std::string EepromDump(const core::AppState& state) {
  return Dump(state.EepromBuffer, static_cast<std::size_t>(state.EepromBytes), 1);
}

void WriteFlashDump(core::RunContext& context) {
  WriteDump(context, kFlashDumpFile, FlashDump(context.State), context.State.FlashDumpRefusal);
}

void WriteEepromDump(core::RunContext& context) {
  WriteDump(context, kEepromDumpFile, EepromDump(context.State), context.State.EepromDumpRefusal);
}

void LoadFlashView(core::RunContext& context) {
  LoadView(context, screen::View::Flash, kFlashDumpFile, FlashDump(context.State),
           context.State.FlashDumpRefusal);
}

void LoadEepromView(core::RunContext& context) {
  LoadView(context, screen::View::Eeprom, kEepromDumpFile, EepromDump(context.State),
           context.State.EepromDumpRefusal);
}

void RefreshFlashView(core::RunContext& context) {
  WriteFlashDump(context);
  LoadFlashView(context);
}

void RefreshEepromView(core::RunContext& context) {
  WriteEepromDump(context);
  LoadEepromView(context);
}

std::optional<screen::TextPlace> FlashCellPlace(const core::AppState& state, std::int32_t word) {
  return CellPlace(word, state.FlashWords, 2);
}

std::optional<screen::TextPlace> EepromCellPlace(const core::AppState& state, std::int32_t byte) {
  return CellPlace(byte, state.EepromBytes, 1);
}

void ShowBuffers(core::RunContext& context) {
  context.Screen.Views.ShowText(screen::View::Flash, FlashDump(context.State));
  context.Screen.Views.ShowText(screen::View::Eeprom, EepromDump(context.State));
}

}  // namespace fenwright::image
