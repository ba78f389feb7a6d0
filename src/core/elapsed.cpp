#include "core/elapsed.h"

namespace fenwright::core {

double SecondsSince(platform::Clock& clock, double start) {
  constexpr double kSecondsPerDay = 86400;
  const double seconds = clock.SecondsSinceMidnight() - start;
  return seconds < 0 ? seconds + kSecondsPerDay : seconds;
}

}  // namespace fenwright::core
