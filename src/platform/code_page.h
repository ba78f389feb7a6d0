#pragma once

#include <string>
#include <string_view>

namespace fenwright::platform {

/// Converts between UTF-8 in memory and CP932 in the trace, dump and report files.
///
/// Both directions always succeed: a character that has no counterpart becomes "?", an invalid
/// byte sequence becomes "?" per byte.
class CodePage {
 public:
  virtual ~CodePage() = default;
  [[nodiscard]] virtual std::string FromUtf8(std::string_view text) const = 0;
  [[nodiscard]] virtual std::string ToUtf8(std::string_view bytes) const = 0;
};

}  // namespace fenwright::platform
