#include "image/file_names.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>

#include "core/settings_keys.h"

namespace fenwright::image {
namespace {

/// Everything before the last separator; "" when there is none.
std::string FolderOf(std::string_view path) {
  constexpr bool kBackslashSeparates = std::filesystem::path::preferred_separator == '\\';
  const std::size_t separator = path.find_last_of(kBackslashSeparates ? "/\\" : "/");
  return std::string(separator == std::string_view::npos ? "" : path.substr(0, separator));
}

/// UTF-8 `text` without its last character.
std::string_view WithoutLastCharacter(std::string_view text) {
  const auto continues = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
  };
  while (!text.empty() && continues(text.back())) text.remove_suffix(1);
  if (!text.empty()) text.remove_suffix(1);
  return text;
}

}  // namespace

std::string DataFileNameFor(std::string_view code_path) {
  constexpr int kExtensionLength = 3;
  for (int i = 0; i < kExtensionLength; ++i) code_path = WithoutLastCharacter(code_path);
  return std::string(code_path) + "eep";
}

std::string_view NameOf(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\");
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

bool HasCodeFileExtension(std::string_view path) {
  constexpr std::size_t kLength = 4;
  if (path.size() < kLength) return false;
  std::string extension(path.substr(path.size() - kLength));
  std::ranges::transform(extension, extension.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return extension == ".hex" || extension == ".rom";
}

std::string FileNameOf(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\");
  return std::string(separator == std::string_view::npos ? path : path.substr(separator + 1));
}

std::string StoredFolder(const core::RunContext& context, std::string_view key) {
  return context.Storage.Settings.Read(core::kSettingsSection, key).value_or("");
}

void StoreFolderOf(core::RunContext& context, std::string_view key, std::string_view path) {
  context.Storage.Settings.Write(core::kSettingsSection, key, FolderOf(path));
}

}  // namespace fenwright::image
