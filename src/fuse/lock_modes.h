#pragma once

#include <array>

namespace fenwright::fuse {

/// The lock modes in ASCII; the list counts from the closed mode to the open one.
inline constexpr std::array kLockModeNames{"write-verify", "write", "none"};

/// Places in that list.
inline constexpr int kReadLocked = 0;
inline constexpr int kNotLocked = 2;

}  // namespace fenwright::fuse
