#pragma once

namespace fenwright::platform {

/// Rests for `seconds` (not negative), to a fraction of a millisecond where the system can. Its
/// plain calls wait in steps of 16 ms.
void RestPrecisely(double seconds);

}  // namespace fenwright::platform
