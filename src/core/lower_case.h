#pragma once

#include <string>
#include <string_view>

namespace fenwright::core {

/// The text with a to z for A to Z; every other character stays, whatever the locale.
std::string LowerCase(std::string_view text);

}  // namespace fenwright::core
