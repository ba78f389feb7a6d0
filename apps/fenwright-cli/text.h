#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/system/utf8_path.h"

namespace fenwright::cli {

using platform::ToPath;
using platform::ToUtf8;

/// The text with a to z for A to Z.
inline std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char character) {
    const bool upper = character >= 'A' && character <= 'Z';
    return upper ? static_cast<char>(character - 'A' + 'a') : character;
  });
  return lower;
}

}  // namespace fenwright::cli
