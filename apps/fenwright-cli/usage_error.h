#pragma once

#include <string>
#include <string_view>

namespace fenwright::cli {

/// What is wrong with a call, in Japanese, from what the library that reads it says. What is not
/// known stays as it is.
std::string JapaneseOfUsageError(std::string_view english);

}  // namespace fenwright::cli
