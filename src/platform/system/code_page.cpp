#include "platform/system/code_page.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "platform/system/cp932_converter.h"

namespace fenwright::platform {
namespace {

constexpr char kSubstitute = '?';
constexpr std::string_view kWaveDash = "\u301C";
constexpr std::string_view kWaveDashBytes = "\x81\x60";

std::uint8_t ByteAt(std::string_view text, std::size_t index) {
  return static_cast<std::uint8_t>(text[index]);
}

bool IsAscii(std::uint8_t byte) { return byte < 0x80; }

bool IsBetween(std::uint8_t byte, std::uint8_t first, std::uint8_t last) {
  return byte >= first && byte <= last;
}

/// Length of the valid UTF-8 character at the start of `text`, 0 when there is none.
std::size_t Utf8Length(std::string_view text) {
  /// The smallest value that needs so many bytes.
  constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
  constexpr std::uint32_t kLargest = 0x10FFFF;
  const std::uint8_t first = ByteAt(text, 0);
  if (IsAscii(first)) return 1;
  const auto length = static_cast<std::size_t>(std::countl_one(first));
  if (length == 1 || length >= kSmallest.size() || text.size() < length) return 0;
  std::uint32_t value = first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsBetween(ByteAt(text, i), 0x80, 0xBF)) return 0;
    value = (value << 6U) | (ByteAt(text, i) & 0x3FU);
  }
  const bool is_surrogate = value >= 0xD800 && value <= 0xDFFF;
  return value >= kSmallest[length] && value <= kLargest && !is_surrogate ? length : 0;
}

bool IsLeadByte(std::uint8_t byte) {
  return IsBetween(byte, 0x81, 0x9F) || IsBetween(byte, 0xE0, 0xFC);
}

}  // namespace

Cp932CodePage::Cp932CodePage() : converter_(MakeCp932Converter()) {}

Cp932CodePage::~Cp932CodePage() = default;

std::string Cp932CodePage::FromUtf8(std::string_view text) const {
  std::string bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = Utf8Length(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    text.remove_prefix(character.size());
    if (length == 1) {
      bytes += character;
      continue;
    }
    if (character == kWaveDash) {
      bytes += kWaveDashBytes;
      continue;
    }
    const ConvertedCharacter found =
        length == 0 ? ConvertedCharacter{} : converter_->ToCp932(character);
    if (found.Size == 0 || IsAscii(static_cast<std::uint8_t>(found.Bytes[0]))) {
      bytes += kSubstitute;
    } else {
      bytes.append(found.Bytes.data(), found.Size);
    }
  }
  return bytes;
}

std::string Cp932CodePage::ToUtf8(std::string_view bytes) const {
  std::string text;
  text.reserve(bytes.size() * 2);
  while (!bytes.empty()) {
    const std::uint8_t first = ByteAt(bytes, 0);
    const std::size_t length = IsLeadByte(first) && bytes.size() > 1 ? 2 : 1;
    const ConvertedCharacter found =
        IsAscii(first) ? ConvertedCharacter{} : converter_->ToUtf8(bytes.substr(0, length));
    if (IsAscii(first)) {
      text += bytes[0];
    } else if (found.Size == 0) {
      text += kSubstitute;
    } else {
      text.append(found.Bytes.data(), found.Size);
    }
    bytes.remove_prefix(found.Size == 0 ? 1 : length);
  }
  return text;
}

}  // namespace fenwright::platform
