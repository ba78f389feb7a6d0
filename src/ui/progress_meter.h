#pragma once

#include <cstdint>

#include <QString>

namespace fenwright::ui {

/// How far a piece of work has come, and how long the rest of it takes at the pace so far. It has
/// no clock of its own: times are milliseconds from any start.
class ProgressMeter {
 public:
  /// Begins a new piece of work.
  void Start(int maximum, std::int64_t now);

  /// A value outside of 0..maximum counts as the nearer end.
  void Reach(int value, std::int64_t now);

  [[nodiscard]] int Maximum() const { return maximum_; }
  [[nodiscard]] int Value() const { return value_; }
  [[nodiscard]] int Percent() const;

  /// "45 %", and "45 %   残り 約 12 秒" as soon as there is a pace to go by. The time is looked at
  /// twice a second, so that it can be read.
  [[nodiscard]] QString Text() const;

 private:
  int maximum_ = 100;
  int value_ = 0;
  std::int64_t start_ = 0;
  std::int64_t estimated_at_ = 0;
  int remaining_seconds_ = -1;  ///< -1 = not known
};

}  // namespace fenwright::ui
