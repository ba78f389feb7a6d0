#include "platform/system/code_page.h"

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

/// Length that the first byte of a UTF-8 character announces, 0 when it cannot be a first byte.
std::size_t AnnouncedLength(std::uint8_t first) {
  if (IsAscii(first)) return 1;
  if (IsBetween(first, 0xC2, 0xDF)) return 2;
  if (IsBetween(first, 0xE0, 0xEF)) return 3;
  if (IsBetween(first, 0xF0, 0xF4)) return 4;
  return 0;
}

/// True unless the second byte makes an overlong form, a surrogate or a value above U+10FFFF.
bool IsSecondByteOf(std::uint8_t first, std::uint8_t second) {
  switch (first) {
    case 0xE0:
      return IsBetween(second, 0xA0, 0xBF);
    case 0xED:
      return IsBetween(second, 0x80, 0x9F);
    case 0xF0:
      return IsBetween(second, 0x90, 0xBF);
    case 0xF4:
      return IsBetween(second, 0x80, 0x8F);
    default:
      return IsBetween(second, 0x80, 0xBF);
  }
}

/// Length of the valid UTF-8 character at the start of `text`, 0 when there is none.
std::size_t Utf8Length(std::string_view text) {
  const std::size_t length = AnnouncedLength(ByteAt(text, 0));
  if (length <= 1) return length;
  if (text.size() < length || !IsSecondByteOf(ByteAt(text, 0), ByteAt(text, 1))) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (!IsBetween(ByteAt(text, i), 0x80, 0xBF)) return 0;
  }
  return length;
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
