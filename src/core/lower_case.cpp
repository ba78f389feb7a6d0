#include "core/lower_case.h"

#include <algorithm>

namespace fenwright::core {

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char character) {
    const bool upper = character >= 'A' && character <= 'Z';
    return upper ? static_cast<char>(character - 'A' + 'a') : character;
  });
  return lower;
}

}  // namespace fenwright::core
