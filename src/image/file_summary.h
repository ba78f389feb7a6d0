#pragma once

#include <string>
#include <string_view>

#include "core/app_state.h"
#include "image/file_commands.h"

namespace fenwright::image {

/// The code file, or the data file, that an open command has loaded, in a few lines for the window:
/// its name, how many words or bytes it gives and how many the memory has, and what looks wrong
/// about it although it was loaded. "" when there was none.
std::string DescribeCodeFile(const core::AppState& state, const OpenReport& report);
std::string DescribeDataFile(const core::AppState& state, const OpenReport& report);

/// The first thing that speaks against programming what was read from a file, in one line with its
/// cure; "" when nothing does.
std::string DescribeDoubt(std::string_view path, const HexReadReport& report);

/// How much of each memory the buffers use: cells that are not blank, of those that there are.
std::string FlashUsage(const core::AppState& state);
std::string EepromUsage(const core::AppState& state);

/// The dumps that could not be written, with the system's words; "" when both were.
std::string DescribeRefusedDumps(const core::AppState& state);

}  // namespace fenwright::image
