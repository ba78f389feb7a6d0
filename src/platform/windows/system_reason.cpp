#include "platform/windows/system_reason.h"

#include <array>
#include <string_view>
#include <windows.h>

#include "platform/windows/wide_text.h"

namespace fenwright::platform {

std::string SystemReason(unsigned long error) {
  std::array<wchar_t, 1024> words{};
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, error, 0, words.data(), static_cast<DWORD>(words.size()), nullptr);
  std::wstring_view text(words.data(), length);
  while (!text.empty() && (text.back() == L' ' || text.back() == L'.' || text.back() == L'。')) {
    text.remove_suffix(1);
  }
  return text.empty() ? "error " + std::to_string(error) : FromWide(text);
}

}  // namespace fenwright::platform
