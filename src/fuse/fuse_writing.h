#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/run_context.h"

namespace fenwright::fuse {

/// Composes the fuse and lock bytes from the fuse frame and writes them to the chip in the socket;
/// the link must have been checked. It asks nothing. A chip that is not the selected one, or does
/// not answer, ends it before anything is written, without a text of its own.
void WriteFuses(core::RunContext& context);

/// The bytes that WriteFuses() would send now, in its order.
std::vector<core::FuseTransfer> ComposeFuseBytes(core::RunContext& context);

/// Bytes as text: "Fuse 0xD2  Lock 0xFF".
std::string DescribeFuseBytes(const std::vector<core::FuseTransfer>& bytes);

/// Shows in the line under the frame what WriteFuses() would send now; for the user to compare
/// with a data sheet.
void ShowFuseBytes(core::RunContext& context);

/// What the user is told about giving the reset pin away.
extern const std::string_view kResetDisableWarning;

/// True when the selections take the reset function from the selected device's reset pin, so that
/// the programmer can never reach the chip again once they are written.
bool DisablesReset(core::RunContext& context);

/// Warns the user who has just chosen that. The choice stays.
void WarnOfResetDisable(core::RunContext& context);

}  // namespace fenwright::fuse
