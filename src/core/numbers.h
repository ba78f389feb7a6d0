#pragma once

#include <optional>
#include <string_view>

namespace fenwright::core {

/// A decimal number, blanks around it allowed, in the range of single precision; nothing for
/// anything else.
std::optional<double> ParseNumber(std::string_view text);

/// A whole number from `first` to `last`, blanks around it allowed; nothing for anything else, a
/// fraction included.
std::optional<int> ParseWholeNumber(std::string_view text, int first, int last);

}  // namespace fenwright::core
