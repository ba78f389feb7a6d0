#pragma once

#include <string>

namespace fenwright::platform {

/// COM numbers run from 1 to this, as the system that named them counts.
inline constexpr int kLastComNumber = 256;

/// The lists of ports offer the numbers up to this.
inline constexpr int kLastListedComNumber = 20;

/// "COM5" for 5.
inline std::string ComName(int number) { return "COM" + std::to_string(number); }

/// What could be expected of a port if it were opened now.
enum class PortState {
  Usable,
  Missing,       ///< no such device, or no device path is known for the number
  NoPermission,  ///< the device is there, the user may not use it
  Busy,          ///< another program holds it
};

/// What stands behind a COM number on this system.
struct PortInfo {
  int Number = 0;
  std::string Path;         ///< the system's name of the device, "" when none is known
  std::string Description;  ///< the adapter in its maker's words, "" when not known
  PortState State = PortState::Missing;
  std::string Reason;  ///< cause and cure for the user when it is not usable, UTF-8

  bool operator==(const PortInfo&) const = default;
};

/// Looks at ports without opening them: opening would move the modem lines, and the board with
/// them. A look takes a few milliseconds at most; a port that this program itself has open counts
/// as usable. Nothing throws. Adapters come and go, so an answer holds for the moment only.
class PortInfos {
 public:
  virtual ~PortInfos() = default;
  /// The port with a number of 1 to kLastComNumber.
  virtual PortInfo Describe(int number) = 0;
};

}  // namespace fenwright::platform
