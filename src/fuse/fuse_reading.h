#pragma once

#include "core/run_context.h"

namespace fenwright::fuse {

/// Reads the fuse, lock and calibration bytes of the chip in the socket and shows them in the fuse
/// frame; the link must have been checked. A chip that is not the selected one ends it with a
/// message of its own. A list shows what has been read from the chip or stays as it was: a byte
/// whose transfer fails changes nothing.
void ReadFuses(core::RunContext& context);

}  // namespace fenwright::fuse
