#pragma once

#include <string>

#include "core/app_state.h"
#include "core/sentence.h"

namespace fenwright::ops {

/// True when the last command did what it is for: the chip is programmed and verified without a
/// difference (or erased, with nothing to program), read, verified without a difference, erased, or
/// its fuse and lock bits are read or written.
bool Succeeded(const core::AppState& state);

/// Says in words what state the last command left the chip in and what to do next, for
/// example "flash written up to word 0x01F3, not verified: erase and program again".
std::string DescribeChipState(const core::AppState& state, core::Language language);

}  // namespace fenwright::ops
