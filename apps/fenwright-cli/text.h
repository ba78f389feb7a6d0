#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>

namespace fenwright::cli {

/// Paths of the file system from and to UTF-8, which the command line and all texts are in. The
/// path's own conversions take a text for one in the code page of the user's language.
inline std::filesystem::path ToPath(std::string_view utf8) {
  return std::u8string(utf8.begin(), utf8.end());
}

inline std::string ToUtf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

/// The text with a to z for A to Z.
inline std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char character) {
    const bool upper = character >= 'A' && character <= 'Z';
    return upper ? static_cast<char>(character - 'A' + 'a') : character;
  });
  return lower;
}

}  // namespace fenwright::cli
