#pragma once

#include <string>

#include "platform/text_files.h"

namespace fenwright::core {

/// Why a file could not be used, for the user of the window: our words for the cause, the system's
/// own in brackets behind them; alone, where the other is not known.
std::string DescribeReason(const platform::FileResult& result);

}  // namespace fenwright::core
