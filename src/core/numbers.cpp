#include "core/numbers.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace fenwright::core {
namespace {

std::string_view WithoutBlanks(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

/// The whole of a text as a number.
template <typename Number>
std::optional<Number> Parse(std::string_view text) {
  Number value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, problem] = std::from_chars(text.data(), end, value);
  if (problem != std::errc{} || stop != end) return std::nullopt;
  return value;
}

}  // namespace

std::optional<double> ParseNumber(std::string_view text) {
  constexpr auto kLargest = static_cast<double>(std::numeric_limits<float>::max());
  text = WithoutBlanks(text);
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  const std::optional<double> value = Parse<double>(text);
  return value && std::abs(*value) <= kLargest ? value : std::nullopt;
}

std::optional<int> ParseWholeNumber(std::string_view text, int first, int last) {
  const std::optional<int> value = Parse<int>(WithoutBlanks(text));
  return value && *value >= first && *value <= last ? value : std::nullopt;
}

}  // namespace fenwright::core
