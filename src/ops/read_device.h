#pragma once

#include "core/run_context.h"

namespace fenwright::ops {

/// Copies the whole flash and the whole EEPROM of the chip into the buffers. A word that times out
/// ends the operation where it stands: the words before it are in the buffer, the rest keeps its
/// old values, programming mode is not left and the EEPROM is not read.
void ReadDevice(core::RunContext& context);

/// Reads the EEPROM into its buffer, and leaves the flash out. A chip that is not the selected one
/// ends it before.
void ReadEepromOfDevice(core::RunContext& context);

}  // namespace fenwright::ops
