#pragma once

#include "core/run_context.h"

namespace fenwright::ops {

/// Marks in the memory views the bytes that the last verify found to differ, each with a note of
/// what the buffer and the chip hold there.
void MarkDifferences(core::RunContext& context);

}  // namespace fenwright::ops
