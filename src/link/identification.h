#pragma once

namespace fenwright::link {

// How a board is asked what it is: docs/protocol.md.

inline constexpr char kIdentify = '?';
inline constexpr int kVersionReplyLength = 18;  ///< 16 characters and a line end
inline constexpr double kIdentifyRestSeconds = 0.1;

}  // namespace fenwright::link
