#pragma once

#include <string>

#include "core/app_state.h"
#include "image/file_commands.h"

namespace fenwright::image {

/// What was opened, in a few lines for the window: the files' names, how much of each memory is
/// used, and what looks wrong about the files although they were loaded. It is about the files of
/// `report` alone, and "" when there was none.
std::string DescribeOpenedFiles(const core::AppState& state, const OpenReport& report);

/// What the buffers hold after a read of the chip, and the files that a save without a dialog would
/// write it to.
std::string DescribeReadMemory(const core::AppState& state);

}  // namespace fenwright::image
