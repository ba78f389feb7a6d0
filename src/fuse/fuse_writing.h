#pragma once

#include "core/run_context.h"

namespace fenwright::fuse {

/// Composes the fuse and lock bytes from the fuse frame and writes them to the chip in the socket;
/// the link must have been checked. It asks nothing. A chip that is not the selected one, or does
/// not answer, ends it before anything is written, without a text of its own.
void WriteFuses(core::RunContext& context);

}  // namespace fenwright::fuse
