#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What the serial tests of the Windows build and the far end of their line, which is a program of
/// the host, agree on. The tests write a command and its number ("1 hangup") into the file
/// "command" of a common folder; when it is done, its number stands in the file "done".
namespace fenwright::platform::far_end {

inline const std::string kHangUp = "hangup";
/// Takes nothing more, and answers nothing, until it is restored.
inline const std::string kFallSilent = "silence";
inline const std::string kRestore = "restore";
inline const std::string kEnd = "end";

/// Each time the request has come, the far end sends the reply.
inline std::vector<std::uint8_t> Request() { return {'r', 0x00, 0xFF}; }
inline std::vector<std::uint8_t> Reply() {
  return {0x0D, 0x0A, 0x00, 0xFF, 0x11, 0x13, 0x7F, 0x04, 0x80};
}

}  // namespace fenwright::platform::far_end
