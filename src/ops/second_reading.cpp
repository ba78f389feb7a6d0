#include "ops/second_reading.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

#include "core/trace_log.h"
#include "link/board_commands.h"
#include "link/detection.h"
#include "ops/command.h"

namespace fenwright::ops {
namespace {

using core::Difference;

constexpr unsigned kBitsOfAByte = 8;

/// The board's address advances by itself from word to word.
bool ReadWordsAgain(core::RunContext& context, std::span<Difference> cells) {
  std::int16_t& error = context.State.LinkError;
  std::int32_t address = -1;
  for (Difference& cell : cells) {
    context.Line.Events.ProcessPendingEvents();
    if (cell.Address != address) link::SelectAddress(context, cell.Address, error);
    std::uint8_t high = 0;
    std::uint8_t low = 0;
    if (!link::ReadProgramWord(context, high, low, error)) return false;
    cell.Found = static_cast<std::uint16_t>(high << kBitsOfAByte | low);
    address = cell.Address + 1;
  }
  return true;
}

bool ReadBytesAgain(core::RunContext& context, std::span<Difference> cells) {
  std::int16_t& error = context.State.LinkError;
  for (Difference& cell : cells) {
    context.Line.Events.ProcessPendingEvents();
    link::SelectAddress(context, cell.Address, error);
    std::uint8_t value = 0;
    if (!link::ReadDataByte(context, value, error)) return false;
    cell.Found = value;
  }
  return true;
}

/// Each memory in a frame of its own, as a verify reads it.
bool ReadInFrame(core::RunContext& context, std::span<Difference> cells) {
  if (cells.empty()) return true;
  std::int16_t& error = context.State.LinkError;
  link::AvrExtendCommand(context, error);
  if (error != 0) return false;
  link::EnterProgrammingMode(context, error);
  const bool read =
      cells.front().InFlash ? ReadWordsAgain(context, cells) : ReadBytesAgain(context, cells);
  link::LeaveProgrammingMode(context, error);
  return read && error == 0;
}

}  // namespace

std::vector<Difference> ReadDifferencesAgain(core::RunContext& context) {
  core::AppState& state = context.State;
  const core::CommandRecord verify = state.Command;
  const std::int16_t link_error = state.LinkError;
  const std::string status = state.StatusText;
  const std::string message = state.MessageText;
  std::vector<Difference> cells = verify.Differences;
  bool read = false;
  const core::CommandEnding ending = RunCommand(context, [&](core::RunContext& running) {
    core::TraceLog(running).AppendStartMarker();
    if (!link::CheckProgrammerLink(running)) return;
    running.State.LinkError = 0;
    const auto flash =
        static_cast<std::size_t>(std::ranges::count(cells, true, &Difference::InFlash));
    const std::span<Difference> all(cells);
    read = ReadInFrame(running, all.first(flash)) && ReadInFrame(running, all.subspan(flash));
  });
  state.Command = verify;
  state.LinkError = link_error;
  state.StatusText = status;
  state.MessageText = message;
  if (!read || ending != core::CommandEnding::Finished) return {};
  return cells;
}

}  // namespace fenwright::ops
