#pragma once

#include <string>

#include "core/app_state.h"

namespace fenwright::ops {

enum class Language { Japanese, English };

/// True when the last command left the chip programmed and verified without a difference, or
/// found nothing to program.
bool Succeeded(const core::AppState& state);

/// Says in words what state the last programming command left the chip in and what to do next, for
/// example "flash written up to word 0x01F3, not verified: erase and program again".
std::string DescribeChipState(const core::AppState& state, Language language);

}  // namespace fenwright::ops
