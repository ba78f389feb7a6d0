#include "core/file_reason.h"

namespace fenwright::core {

std::string DescribeReason(const platform::FileResult& result) {
  std::string words(platform::JapaneseOf(result.Cause));
  if (words.empty()) return result.Reason.empty() ? "?" : result.Reason;
  if (!result.Reason.empty()) words.append("(").append(result.Reason).append(")");
  return words;
}

}  // namespace fenwright::core
