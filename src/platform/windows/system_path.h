#pragma once

#include <string>
#include <string_view>

namespace fenwright::platform {

/// The path that a path stands for, from the drive or the share on.
std::wstring FullPath(const std::wstring& path);

/// The path (UTF-16 or UTF-8) as the system takes it. Above a certain length it takes full paths
/// alone, marked so that it leaves them as they are.
std::wstring SystemPath(const std::wstring& wide);
std::wstring SystemPath(std::string_view path);

}  // namespace fenwright::platform
