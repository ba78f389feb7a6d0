#include "core/text_lines.h"

#include <cstddef>

namespace fenwright::core {

std::string_view TakeLine(std::string_view& rest) {
  const std::size_t end = rest.find_first_of("\r\n");
  const std::string_view line = rest.substr(0, end);
  if (end == std::string_view::npos) {
    rest = {};
    return line;
  }
  const bool both = rest[end] == '\r' && end + 1 < rest.size() && rest[end + 1] == '\n';
  rest.remove_prefix(end + (both ? 2 : 1));
  return line;
}

}  // namespace fenwright::core
