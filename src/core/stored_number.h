#pragma once

#include <optional>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::core {

/// A setting of the main program as a number, `missing` when it was never stored. A stored value
/// that is no number ends the running command with BadSetting and a text that names section, key
/// and value.
double ReadStoredNumber(const RunContext& context, std::string_view key, double missing);

/// The stored number of the COM port: nothing when none was ever stored, 0 for what is no port.
std::optional<int> StoredPortNumber(const RunContext& context);

/// Stores a number in decimal; a store that cannot be written is passed over.
void StoreNumber(RunContext& context, std::string_view key, double value);

/// Ends the running command because of a stored value; `cure` says what it may be.
[[noreturn]] void EndCommandOnBadSetting(std::string_view key, std::string_view value,
                                         std::string_view cure);

}  // namespace fenwright::core
