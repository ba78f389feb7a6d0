#pragma once

namespace fenwright::testing {

/// The device, and the files, of tests to which another one would mean the same.
constexpr const char* kTiny12 = "ATtiny12L";
constexpr const char* kCodePath = "/files/prog.hex";
constexpr const char* kDataPath = "/files/prog.eep";

/// Replies of a Program run before the first reply of the flash phase: "?" "?" "A" "T", the
/// signature session (A P s L), the erase (A P e L), the second session (A P s L).
constexpr int kRepliesBeforeFlash = 16;

}  // namespace fenwright::testing
