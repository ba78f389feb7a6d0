#include "platform/asio/line_settings.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace fenwright::platform {
namespace {

constexpr std::size_t kFieldCount = 4;
using Fields = std::array<std::string_view, kFieldCount>;

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::optional<Fields> SplitFields(std::string_view text) {
  Fields fields;
  for (std::size_t i = 0; i < kFieldCount; ++i) {
    const std::size_t comma = text.find(',');
    const bool is_last = i + 1 == kFieldCount;
    if (is_last != (comma == std::string_view::npos)) return std::nullopt;
    fields[i] = Trimmed(text.substr(0, comma));
    if (!is_last) text.remove_prefix(comma + 1);
  }
  return fields;
}

std::optional<unsigned> ParseNumber(std::string_view text) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<LineParity> ParseParity(std::string_view text) {
  if (text == "n" || text == "N") return LineParity::None;
  if (text == "o" || text == "O") return LineParity::Odd;
  if (text == "e" || text == "E") return LineParity::Even;
  return std::nullopt;
}

std::optional<LineStopBits> ParseStopBits(std::string_view text) {
  if (text == "1") return LineStopBits::One;
  if (text == "1.5") return LineStopBits::OneAndHalf;
  if (text == "2") return LineStopBits::Two;
  return std::nullopt;
}

}  // namespace

std::optional<LineSettings> ParseLineSettings(std::string_view text) {
  const auto fields = SplitFields(text);
  if (!fields) return std::nullopt;
  const auto baud = ParseNumber((*fields)[0]);
  const auto parity = ParseParity((*fields)[1]);
  const auto data_bits = ParseNumber((*fields)[2]);
  const auto stop_bits = ParseStopBits((*fields)[3]);
  if (!baud || *baud == 0 || !parity || !data_bits || !stop_bits) return std::nullopt;
  if (*data_bits < 5 || *data_bits > 8) return std::nullopt;
  return LineSettings{
      .Baud = *baud, .Parity = *parity, .DataBits = *data_bits, .StopBits = *stop_bits};
}

}  // namespace fenwright::platform
