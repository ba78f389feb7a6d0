#include "core/stored_number.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "core/command_end.h"
#include "core/settings_keys.h"

namespace fenwright::core {
namespace {

std::string_view WithoutBlanks(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

std::optional<double> ParseStoredNumber(std::string_view text) {
  text = WithoutBlanks(text);
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, value);
  if (code != std::errc{} || stop != end) return std::nullopt;
  constexpr auto kLargest = static_cast<double>(std::numeric_limits<float>::max());
  if (!(std::abs(value) <= kLargest)) return std::nullopt;
  return value;
}

double ReadStoredNumber(const RunContext& context, std::string_view key, double missing) {
  const auto text = context.Storage.Settings.Read(kSettingsSection, key);
  if (!text) return missing;
  if (const auto number = ParseStoredNumber(*text)) return *number;
  EndCommandOnBadSetting(key, *text, "この値を削除するか、数字に直してから起動してください。");
}

void StoreNumber(RunContext& context, std::string_view key, double value) {
  std::array<char, 400> text{};
  const auto [end, code] =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  context.Storage.Settings.Write(
      kSettingsSection, key,
      std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
}

void EndCommandOnBadSetting(std::string_view key, std::string_view value, std::string_view cure) {
  std::string text = "設定の値が正しくありません。\r\nセクション ";
  text.append(kSettingsSection).append("、キー ").append(key);
  text.append("、値 \"").append(value).append("\"\r\n").append(cure);
  throw CommandEnd{.Ending = CommandEnding::BadSetting, .Text = text};
}

}  // namespace fenwright::core
