#pragma once

#include <span>
#include <string>
#include <string_view>

namespace fenwright::board_app {

/// Says on the standard error output what is wrong. `words` is the command line: what stands in
/// `what` of it does nothing to a terminal.
void Complain(std::string_view what, std::span<const std::string> words);

}  // namespace fenwright::board_app
