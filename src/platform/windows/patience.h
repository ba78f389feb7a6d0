#pragma once

#include <windows.h>

namespace fenwright::platform {

/// How often something is tried, and the pause before each new attempt.
struct Patience {
  int Attempts = 1;
  DWORD MillisecondsBetween = 0;
};

/// Calls `attempt`, which gives an error code, again as long as that may pass by itself: as long as
/// `may_pass` says so of the code, and patience lasts. Gives the code of the last attempt.
template <typename Attempt, typename MayPass>
DWORD WithPatience(Patience patience, Attempt attempt, MayPass may_pass) {
  DWORD error = attempt();
  for (int i = 1; i < patience.Attempts && error != ERROR_SUCCESS && may_pass(error); ++i) {
    Sleep(patience.MillisecondsBetween);
    error = attempt();
  }
  return error;
}

}  // namespace fenwright::platform
