#pragma once

#include <string_view>

namespace fenwright::core {

/// Takes the next line off `rest`. Lines end in CR LF, LF or CR; the last one need not end.
std::string_view TakeLine(std::string_view& rest);

}  // namespace fenwright::core
