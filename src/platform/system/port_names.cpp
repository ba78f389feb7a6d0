#include "platform/system/port_names.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace fenwright::platform {
namespace {

constexpr std::string_view kComPrefix = "COM";

char UpperCase(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool StartsWithCom(std::string_view text) {
  return std::ranges::equal(text.substr(0, kComPrefix.size()), kComPrefix, {}, UpperCase);
}

/// The number in "COM5", nothing when the text is not the name of a port.
std::optional<int> ParseComName(std::string_view text) {
  if (!StartsWithCom(text)) return std::nullopt;
  const std::string_view digits = text.substr(kComPrefix.size());
  int number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  if (number < 1 || number > kLastComNumber) return std::nullopt;
  return number;
}

int NumberOfDefaultPath(std::string_view path) {
  for (int number = 1; number <= kLastListedComNumber; ++number) {
    if (DefaultDevicePath(number) == path) return number;
  }
  return 1;
}

}  // namespace

std::string DevicePath(const SettingsStore& settings, const PortOverrides& overrides,
                       int com_number) {
  const auto given = overrides.find(com_number);
  if (given != overrides.end() && !given->second.empty()) return given->second;
  const std::string key = std::string(kComPrefix) + std::to_string(com_number);
  const auto stored = settings.Read(kPortsSection, key);
  if (stored && !stored->empty()) return *stored;
  return DefaultDevicePath(com_number);
}

std::optional<PortOption> ParsePortOption(std::string_view text) {
  const std::size_t equals = text.find('=');
  const auto number = ParseComName(text.substr(0, equals));
  if (number && equals == std::string_view::npos) return PortOption{.Number = *number, .Path = ""};
  if (number) {
    const std::string_view path = text.substr(equals + 1);
    if (path.empty()) return std::nullopt;
    return PortOption{.Number = *number, .Path = std::string(path)};
  }
  if (StartsWithCom(text) || text.find(kFolderSeparator) == std::string_view::npos)
    return std::nullopt;
  // The path goes along even where it is the default: the settings may say otherwise.
  return PortOption{.Number = NumberOfDefaultPath(text), .Path = std::string(text)};
}

}  // namespace fenwright::platform
