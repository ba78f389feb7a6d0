#pragma once

#include <string_view>

#include "core/run_context.h"

namespace fenwright::fuse {

// One transfer in a programming mode of its own: entering, the one transfer command, leaving. With
// a label for the transfer, the trace says before each step which one it is; "" = nothing.

/// Sends the extend command and enters programming mode. False, with nothing more to be sent, when
/// the error flag is set after the extend command, by it or by an earlier exchange.
bool EnterExchange(core::RunContext& context, std::string_view transfer_label);

void LeaveExchange(core::RunContext& context, std::string_view transfer_label);

}  // namespace fenwright::fuse
