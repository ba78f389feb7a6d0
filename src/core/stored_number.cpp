#include "core/stored_number.h"

#include <array>
#include <charconv>
#include <string>

#include "core/command_end.h"
#include "core/numbers.h"
#include "core/settings_keys.h"
#include "platform/port_info.h"

namespace fenwright::core {

double ReadStoredNumber(const RunContext& context, std::string_view key, double missing) {
  const auto text = context.Storage.Settings.Read(kSettingsSection, key);
  if (!text) return missing;
  if (const auto number = ParseNumber(*text)) return *number;
  EndCommandOnBadSetting(key, *text, "この値を削除するか、数字に直してから起動してください。");
}

std::optional<int> StoredPortNumber(const RunContext& context) {
  const auto text = context.Storage.Settings.Read(kSettingsSection, kPortNumberKey);
  if (!text) return std::nullopt;
  return ParseWholeNumber(*text, 0, platform::kLastComNumber).value_or(0);
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
