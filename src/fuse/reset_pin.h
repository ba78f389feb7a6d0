#pragma once

#include <string_view>

#include "core/run_context.h"

namespace fenwright::fuse {

/// What the user is told about giving the reset pin away.
extern const std::string_view kResetDisableWarning;

/// True when the selections take the reset function from the selected device's reset pin, so that
/// the programmer can never reach the chip again once they are written.
bool DisablesReset(core::RunContext& context);

/// Warns the user who has just chosen that, with the sign of danger. The choice stays. The sign
/// goes when the user takes the choice back.
void WarnOfResetDisable(core::RunContext& context);

}  // namespace fenwright::fuse
