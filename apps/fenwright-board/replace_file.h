#pragma once

#include <string>
#include <string_view>

namespace fenwright::board_app {

/// Replaces a file by way of a temporary one beside it, so that a reader sees either the old or the
/// new content, whole. A link is replaced, not followed, and the temporary file is a new one
/// whatever was there. False: `error` says why.
bool ReplaceFile(const std::string& path, std::string_view content, std::string& error);

}  // namespace fenwright::board_app
