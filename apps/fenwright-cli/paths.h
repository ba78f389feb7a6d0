#pragma once

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

}  // namespace fenwright::cli
