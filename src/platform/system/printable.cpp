#include "platform/system/printable.h"

#include <algorithm>
#include <cstddef>

namespace fenwright::platform {
namespace {

/// Length of the character that a text starts with, 0 when it is no UTF-8.
std::size_t CharacterLength(std::string_view text) {
  const auto byte = [text](std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
  };
  const auto continues = [&byte](std::size_t index) { return (byte(index) & 0xC0U) == 0x80U; };
  const unsigned first = byte(0);
  const unsigned second = byte(1);
  if (first < 0x80U) return 1;
  if (first < 0xC2U || first > 0xF4U || !continues(1)) return 0;
  if (first < 0xE0U) return 2;
  // Forms that are longer than they need be, halves of UTF-16 pairs, and what lies beyond Unicode.
  if ((first == 0xE0U && second < 0xA0U) || (first == 0xEDU && second > 0x9FU) ||
      (first == 0xF0U && second < 0x90U) || (first == 0xF4U && second > 0x8FU) || !continues(2)) {
    return 0;
  }
  if (first < 0xF0U) return 3;
  return continues(3) ? 4 : 0;
}

/// The start of an escape with a byte in two digits behind it.
std::string Hex(std::string start, unsigned char value) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  constexpr unsigned kBase = 16;
  start += kDigits[value / kBase];
  start += kDigits[value % kBase];
  return start;
}

/// The escape for the character that a text starts with, "" when it can be shown. `length` is that
/// of the character.
std::string EscapeFor(std::string_view text, std::size_t& length) {
  const auto first = static_cast<unsigned char>(text.front());
  length = CharacterLength(text);
  switch (first) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  constexpr unsigned char kFirstShown = 0x20;
  constexpr unsigned char kDelete = 0x7F;
  if (first < kFirstShown || first == kDelete || length == 0) {
    length = 1;
    return Hex("\\x", first);
  }
  // The second set of control characters: U+0080 to U+009F.
  constexpr unsigned char kSecondSet = 0xC2;
  constexpr unsigned char kLastControl = 0x9F;
  const auto second = static_cast<unsigned char>(length == 2 ? text[1] : 0);
  if (first == kSecondSet && second <= kLastControl) return Hex("\\u00", second);
  return "";
}

void Append(std::string& shown, std::string_view& rest) {
  std::size_t length = 0;
  const std::string escape = EscapeFor(rest, length);
  shown += escape.empty() ? rest.substr(0, length) : escape;
  rest.remove_prefix(length);
}

bool HasLineEnd(std::string_view text) {
  constexpr std::string_view kLineEnds = "\r\n";
  return text.find_first_of(kLineEnds) != std::string_view::npos &&
         text.find_first_not_of(kLineEnds) != std::string_view::npos;
}

/// The text from outside that `text` starts with, the longest of them; "" when there is none.
std::string_view StartOf(std::string_view text, std::span<const std::string> outside) {
  std::string_view longest;
  for (const std::string& candidate : outside) {
    if (candidate.size() > longest.size() && text.starts_with(candidate)) longest = candidate;
  }
  return longest;
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string shown;
  while (!text.empty()) Append(shown, text);
  return shown;
}

std::string Printable(std::string_view text, std::span<const std::string> outside) {
  std::string shown;
  while (!text.empty()) {
    if (const std::string_view name = StartOf(text, outside); HasLineEnd(name)) {
      shown += Escaped(name);
      text.remove_prefix(name.size());
    } else if (text.starts_with("\r\n") || text.starts_with('\n')) {
      text.remove_prefix(text.front() == '\r' ? 2 : 1);
      shown += '\n';
    } else {
      Append(shown, text);
    }
  }
  return shown;
}

std::vector<std::string> OutsideOf(std::span<const std::string> words) {
  std::vector<std::string> outside(words.begin(), words.end());
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) continue;
    outside.push_back(word.substr(0, equals));
    outside.push_back(word.substr(equals + 1));
  }
  std::erase_if(outside, [](const std::string& text) { return !HasLineEnd(text); });
  return outside;
}

}  // namespace fenwright::platform
