#pragma once

#include <string>
#include <string_view>

namespace fenwright::cli {

/// The English counterpart of a text that the engine shows: its pieces one after the other, what is
/// no piece of the engine's (numbers, names, paths) as it stands. Full-width signs become ordinary
/// ones. No counterpart speaks of menus or buttons.
std::string EnglishOf(std::string_view text);

}  // namespace fenwright::cli
