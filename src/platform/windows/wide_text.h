#pragma once

#include <string>
#include <string_view>

namespace fenwright::platform {

/// UTF-8 to the system's UTF-16 and back. What is not valid becomes U+FFFD.
std::wstring ToWide(std::string_view text);
std::string FromWide(std::wstring_view text);

}  // namespace fenwright::platform
