#pragma once

#include <string>

#include "core/app_state.h"
#include "core/sentence.h"
#include "screen/outcome.h"

namespace fenwright::ops {

/// True when the last command did what it is for: the chip is programmed and verified without a
/// difference (or erased, with nothing to program), read, verified without a difference, erased, or
/// its fuse and lock bits are read or written.
bool Succeeded(const core::AppState& state);

/// The sign for what the last command on the chip has come to. Success is a command that succeeded
/// with nothing left to look at.
screen::Outcome OutcomeOf(const core::AppState& state);

/// Why the sign is what it is, in Japanese; "" for a success.
std::string ReasonOfOutcome(const core::AppState& state);

/// That the chip is perhaps protected, in Japanese: what the last command read from it is, cell by
/// cell, the address of the cell, as a chip answers whose lock bits forbid reading. "" otherwise.
std::string DescribeProtection(const core::AppState& state);

/// What the last command has found out about why it failed, in Japanese: the chip in the socket,
/// the number of cells that differ, and what they have in common; "" = nothing.
std::string DescribeCause(const core::AppState& state);

/// How much of the selected device's memories the buffers fill, in Japanese: a line for each.
std::string DescribeUsage(const core::AppState& state);

/// Says in words what state the last command left the chip in and what to do next, for
/// example "flash written up to word 0x01F3, not verified: erase and program again".
std::string DescribeChipState(const core::AppState& state, core::Language language);

}  // namespace fenwright::ops
