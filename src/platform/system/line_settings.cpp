#include "platform/system/line_settings.h"

#include <array>
#include <istream>
#include <sstream>
#include <string>

#include <climits>

namespace fenwright::platform {
namespace {

std::optional<LineParity> ParseParity(char letter) {
  if (letter == 'n' || letter == 'N') return LineParity::None;
  if (letter == 'o' || letter == 'O') return LineParity::Odd;
  if (letter == 'e' || letter == 'E') return LineParity::Even;
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
  std::istringstream fields{std::string(text)};
  long long baud = 0;
  char parity_letter = 0;
  unsigned data_bits = 0;
  std::string stop_text;
  std::array<char, 3> commas{};
  fields >> baud >> commas[0] >> parity_letter >> commas[1] >> data_bits >> commas[2] >> stop_text;
  if (!fields || commas != std::array{',', ',', ','}) return std::nullopt;
  const auto parity = ParseParity(parity_letter);
  const auto stop_bits = ParseStopBits(stop_text);
  const bool is_end = (fields >> std::ws).eof();
  if (baud < 1 || baud > UINT_MAX || !parity || data_bits < 5 || data_bits > 8 || !stop_bits ||
      !is_end) {
    return std::nullopt;
  }
  return LineSettings{.Baud = static_cast<unsigned>(baud),
                      .Parity = *parity,
                      .DataBits = data_bits,
                      .StopBits = *stop_bits};
}

}  // namespace fenwright::platform
