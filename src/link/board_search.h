#pragma once

#include <span>

#include "core/run_context.h"

namespace fenwright::link {

/// Looks for a board on these ports, one after the other, and returns the number of the first that
/// answers as a supported one; 0 when none does. Each port is asked for its version line, as the
/// link check begins, and closed again; a port that cannot be opened is passed over. Whatever was
/// open before is open again afterwards, unless a board was found.
int SearchBoard(core::RunContext& context, std::span<const int> ports);

}  // namespace fenwright::link
