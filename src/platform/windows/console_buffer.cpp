#include "platform/windows/console_buffer.h"

#include <utility>

#include "platform/windows/wide_text.h"

namespace fenwright::platform {
namespace {

/// Some consoles take no more than a few times this at once.
constexpr std::size_t kConsoleBlock = 4096;

/// The length of the character that starts with a byte; 1 for a byte that starts none.
std::size_t LengthOf(unsigned char first) {
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  if (first >= 0xF0 && first <= 0xF4) return 4;
  return 1;
}

/// How many bytes at the end of a text are a character whose end is missing.
std::size_t Unfinished(std::string_view text) {
  constexpr std::size_t kLongest = 4;
  for (std::size_t length = 1; length < kLongest && length <= text.size(); ++length) {
    const auto byte = static_cast<unsigned char>(text[text.size() - length]);
    const bool is_later_byte = (byte & 0xC0U) == 0x80U;
    if (!is_later_byte) return length < LengthOf(byte) ? length : 0;
  }
  return 0;
}

std::wstring WithLineEnds(std::wstring_view text) {
  std::wstring result;
  for (const wchar_t character : text) {
    if (character == L'\n') result += L'\r';
    result += character;
  }
  return result;
}

}  // namespace

ConsoleBuffer::ConsoleBuffer(Sink sink) : sink_(std::move(sink)) {}

ConsoleBuffer::int_type ConsoleBuffer::overflow(int_type byte) {
  if (traits_type::eq_int_type(byte, traits_type::eof())) return traits_type::not_eof(byte);
  const char character = traits_type::to_char_type(byte);
  return Take({&character, 1}) ? byte : traits_type::eof();
}

std::streamsize ConsoleBuffer::xsputn(const char* bytes, std::streamsize count) {
  return Take({bytes, static_cast<std::size_t>(count)}) ? count : 0;
}

int ConsoleBuffer::sync() { return HandOn() ? 0 : -1; }

bool ConsoleBuffer::Take(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, kConsoleBlock - waiting_.size());
    waiting_ += piece;
    bytes.remove_prefix(piece.size());
    if (waiting_.size() == kConsoleBlock && !HandOn()) return false;
  }
  return true;
}

bool ConsoleBuffer::HandOn() {
  const std::size_t count = waiting_.size() - Unfinished(waiting_);
  if (count == 0) return true;
  const std::wstring text = WithLineEnds(ToWide(std::string_view(waiting_).substr(0, count)));
  waiting_.erase(0, count);
  return sink_(text);
}

}  // namespace fenwright::platform
