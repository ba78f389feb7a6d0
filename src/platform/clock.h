#pragma once

namespace fenwright::platform {

/// Local calendar date and time of day; months and days count from 1.
struct DateTime {
  int Year = 1970;
  int Month = 1;
  int Day = 1;
  int Hour = 0;
  int Minute = 0;
  int Second = 0;
};

/// The system's clock. Nothing fails.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Fractional seconds since local midnight, 0 <= t < 86400. It falls back to 0 at midnight.
  virtual double SecondsSinceMidnight() = 0;

  /// Local date and time.
  virtual DateTime Now() = 0;

  /// Rests the calling thread. Callers keep it to a few milliseconds: window events wait meanwhile.
  virtual void Sleep(double seconds) = 0;
};

}  // namespace fenwright::platform
