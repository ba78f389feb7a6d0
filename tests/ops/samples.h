#pragma once

namespace fenwright::testing {

/// The device, and the files, of tests to which another one would mean the same.
constexpr const char* kTiny12 = "ATtiny12L";
constexpr const char* kCodePath = "/files/prog.hex";
constexpr const char* kDataPath = "/files/prog.eep";

}  // namespace fenwright::testing
