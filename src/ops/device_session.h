#pragma once

#include <cstdint>

#include "core/run_context.h"

namespace fenwright::ops {

/// Erases the chip. The buffers stay as they are.
void EraseChip(core::RunContext& context);

/// Shows the progress of a loop and lets window events run.
void UpdateProgress(core::RunContext& context, std::int32_t value);

}  // namespace fenwright::ops
