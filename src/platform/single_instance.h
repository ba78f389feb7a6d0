#pragma once

namespace fenwright::platform {

/// Whether another run of the program is going on that uses the same settings.
///
/// Claim() is true for the first run and false for every other, as long as the first one's object
/// lives; the claim of a run that was killed is free at once. When the system does not let the
/// program find out, the answer is true: nobody may be locked out by a stale, damaged or foreign
/// lock. Claiming again what is held already is true. Nothing throws.
class SingleInstance {
 public:
  virtual ~SingleInstance() = default;
  virtual bool Claim() = 0;
};

}  // namespace fenwright::platform
