#pragma once

#include "core/run_context.h"

namespace fenwright::ops {

/// Writes the used part of both buffers into the chip, flash first, then verifies both. Blank
/// EEPROM bytes are skipped, blank flash words below the last used one are written like any other.
/// With both buffers blank nothing is sent.
void ProgramDevice(core::RunContext& context);

}  // namespace fenwright::ops
