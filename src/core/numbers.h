#pragma once

#include <optional>
#include <string_view>

namespace fenwright::core {

/// A decimal number in the range of single precision, with or without a sign and an exponent,
/// blanks around it allowed; nothing for anything else.
std::optional<double> ParseNumber(std::string_view text);

/// A whole number from `first` to `last`, blanks around it allowed; nothing for anything else, a
/// fraction and a plus sign included.
std::optional<int> ParseWholeNumber(std::string_view text, int first, int last);

}  // namespace fenwright::core
