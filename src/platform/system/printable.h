#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fenwright::platform {

/// A text without anything that would control a terminal: such characters are shown as \n, \r, \t,
/// \x1b or \u009b, and so are bytes that are no UTF-8.
std::string Escaped(std::string_view text);

/// Lines of our own for a terminal: the same, but that LF and CR LF end a line (with LF alone).
/// What stands in the text of those that come from `outside`, file names say, ends none.
std::string Printable(std::string_view text, std::span<const std::string> outside = {});

/// The texts from outside in the words of a command line: these, and what stands before and behind
/// the "=" in one. Only those are given that a line could end in.
std::vector<std::string> OutsideOf(std::span<const std::string> words);

}  // namespace fenwright::platform
