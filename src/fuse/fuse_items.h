#pragma once

#include <optional>
#include <string_view>

#include "screen/fuse_form.h"

namespace fenwright::fuse {

/// Position of an item that a person names, of a list on a device: by its text, the lock list's
/// also as kLockModeNames has it, letters in either case; else by its position. A number with a
/// zero in front is no position: "011" is meant as bits, and takes the item of that text or
/// nothing.
std::optional<int> FindItem(screen::FuseList list, std::string_view display_name,
                            std::string_view text);

}  // namespace fenwright::fuse
