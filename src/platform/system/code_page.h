#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/code_page.h"

namespace fenwright::platform {

class Cp932Converter;

/// CP932 by the system's converter. One thread uses an object.
///
/// A character outside ASCII never becomes an ASCII byte other than "?": a yen sign that turned
/// into a backslash would change a path. The wave dash U+301C and the full-width tilde U+FF5E, two
/// readings of one character, both become 0x81 0x60. When the system has no converter, everything
/// outside ASCII becomes "?".
class Cp932CodePage final : public CodePage {
 public:
  Cp932CodePage();
  ~Cp932CodePage() override;
  Cp932CodePage(const Cp932CodePage&) = delete;
  Cp932CodePage& operator=(const Cp932CodePage&) = delete;

  [[nodiscard]] std::string FromUtf8(std::string_view text) const override;
  [[nodiscard]] std::string ToUtf8(std::string_view bytes) const override;

 private:
  std::unique_ptr<Cp932Converter> converter_;
};

}  // namespace fenwright::platform
