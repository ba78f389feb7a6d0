#pragma once

#include <optional>
#include <string_view>

namespace fenwright::platform {

enum class LineParity { None, Odd, Even };
enum class LineStopBits { One, OneAndHalf, Two };

/// The settings of a serial line.
struct LineSettings {
  unsigned Baud = 57600;  ///< bits a second, not 0
  LineParity Parity = LineParity::None;
  unsigned DataBits = 8;  ///< 5 to 8
  LineStopBits StopBits = LineStopBits::One;

  bool operator==(const LineSettings&) const = default;
};

/// Parses "baud,parity,data bits,stop bits", for example "57600,n,8,1": parity n, o or e in either
/// case, data bits 5 to 8, stop bits 1, 1.5 or 2, blanks around a field allowed. Nothing when the
/// text is anything else. Whether a line can do the baud rate shows when it is opened.
std::optional<LineSettings> ParseLineSettings(std::string_view text);

}  // namespace fenwright::platform
