#include "platform/windows/system_path.h"

#include <windows.h>

#include "platform/windows/wide_text.h"

namespace fenwright::platform {

std::wstring FullPath(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
  return full;
}

std::wstring SystemPath(const std::wstring& wide) {
  constexpr std::size_t kLongestPlainPath = 240;
  constexpr std::wstring_view kShare = LR"(\\)";
  if (wide.empty() || wide.starts_with(LR"(\\?\)")) return wide;
  std::wstring full = FullPath(wide);
  if (full.size() < kLongestPlainPath) return wide;
  if (full.starts_with(kShare)) return LR"(\\?\UNC\)" + full.substr(kShare.size());
  return LR"(\\?\)" + full;
}

std::wstring SystemPath(std::string_view path) { return SystemPath(ToWide(path)); }

}  // namespace fenwright::platform
