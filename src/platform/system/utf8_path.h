#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace fenwright::platform {

/// Paths of the file system from and to UTF-8, which all texts are in. The path's own conversions
/// take a text for one in the code page of the user's language.
inline std::filesystem::path ToPath(std::string_view utf8) {
  return std::u8string(utf8.begin(), utf8.end());
}

inline std::string ToUtf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

/// The start of a file's name, `most` bytes at the most and no character broken.
inline std::string_view ShortName(std::string_view name, std::size_t most) {
  constexpr unsigned char kContinuationMask = 0xC0;
  constexpr unsigned char kContinuation = 0x80;
  if (name.size() <= most) return name;
  while (most > 0 &&
         (static_cast<unsigned char>(name[most]) & kContinuationMask) == kContinuation) {
    --most;
  }
  return name.substr(0, most);
}

}  // namespace fenwright::platform
