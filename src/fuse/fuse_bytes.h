#pragma once

#include <string>
#include <vector>

#include "core/run_context.h"
#include "fuse/fuse_model.h"

namespace fenwright::fuse {

/// The positions that are selected in the fuse frame.
Selection SelectionOf(core::RunContext& context);

/// The bytes that WriteFuses() would send now, in its order.
std::vector<core::FuseTransfer> ComposeFuseBytes(core::RunContext& context);

/// Bytes as text: "Fuse 0xD2  Lock 0xFF".
std::string DescribeFuseBytes(const std::vector<core::FuseTransfer>& bytes);

/// Shows in the line under the frame what WriteFuses() would send now; for the user to compare
/// with a data sheet.
void ShowFuseBytes(core::RunContext& context);

}  // namespace fenwright::fuse
