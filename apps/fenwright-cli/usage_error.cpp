#include "usage_error.h"

#include <array>
#include <optional>

#include <fmt/format.h>

namespace fenwright::cli {
namespace {

/// A sentence with two gaps, of which the second may be missing.
struct UsageSentence {
  std::string_view Before;
  std::string_view Between;  ///< "" = there is one gap
  std::string_view After;
  const char* Japanese;
};

constexpr auto kUsageSentences = std::to_array<UsageSentence>({
    {"The following argument was not expected: ", "", "", "余分な引数があります: {}"},
    {"The following arguments were not expected: ", "", "", "余分な引数があります: {}"},
    {"A subcommand is required", "", "", "サブコマンドがありません{}"},
    {"", ": 1 required ", " missing", "{} の値がありません"},
    {"", ": At Most 1 required but received ", "", "{} が {} 回あります。指定できるのは一度です"},
    {"", " not in ", "", "{} は {} のどれでもありません"},
    {"", " requires ", "", "{} は {} と一緒に指定します"},
    {"", " excludes ", "", "{} と {} は一緒に指定できません"},
    {"", "", " is required", "{} がありません"},
});

std::optional<std::string> Fill(const UsageSentence& sentence, std::string_view text) {
  if (!text.starts_with(sentence.Before)) return std::nullopt;
  text.remove_prefix(sentence.Before.size());
  if (!text.ends_with(sentence.After)) return std::nullopt;
  text.remove_suffix(sentence.After.size());
  const auto japanese = fmt::runtime(sentence.Japanese);
  if (sentence.Between.empty()) return fmt::format(japanese, text);
  const std::size_t gap = text.find(sentence.Between);
  if (gap == std::string_view::npos) return std::nullopt;
  return fmt::format(japanese, text.substr(0, gap), text.substr(gap + sentence.Between.size()));
}

}  // namespace

std::string JapaneseOfUsageError(std::string_view english) {
  for (const UsageSentence& sentence : kUsageSentences) {
    if (const auto japanese = Fill(sentence, english)) return *japanese;
  }
  return std::string(english);
}

}  // namespace fenwright::cli
