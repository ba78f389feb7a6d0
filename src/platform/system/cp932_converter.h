#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

namespace fenwright::platform {

/// One character's conversion.
struct ConvertedCharacter {
  std::array<char, 8> Bytes{};
  std::size_t Size = 0;  ///< 0 when there is no counterpart
};

/// The system's own table for CP932, a character at a time. Only exact counterparts count: what
/// merely looks alike is none.
class Cp932Converter {
 public:
  virtual ~Cp932Converter() = default;

  /// `character` is one valid UTF-8 character.
  virtual ConvertedCharacter ToCp932(std::string_view character) = 0;

  /// `character` is one byte, or a lead byte and any other.
  virtual ConvertedCharacter ToUtf8(std::string_view character) = 0;
};

/// The converter of the system that the program runs on.
std::unique_ptr<Cp932Converter> MakeCp932Converter();

}  // namespace fenwright::platform
