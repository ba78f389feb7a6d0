#pragma once

#include <vector>

#include "core/run_context.h"

namespace fenwright::ops {

/// Reads the cells that the last verify found to differ once more and gives them in the same order,
/// with what was found this time; nothing when they could not all be read. It is a command of its
/// own, for a front end that may send more than the verify does; what is known of the verify stays.
std::vector<core::Difference> ReadDifferencesAgain(core::RunContext& context);

}  // namespace fenwright::ops
