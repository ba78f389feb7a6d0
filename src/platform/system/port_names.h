#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/port_info.h"
#include "platform/settings_store.h"

namespace fenwright::platform {

/// Section of the settings whose keys "COM1" to "COM256" give device paths.
inline constexpr std::string_view kPortsSection = "Ports";

/// What stands between a folder and a file in a path of the system.
extern const char kFolderSeparator;

/// The device that a COM number stands for unless told otherwise: on Linux COM1-4 are
/// /dev/ttyS0-3, COM5-12 /dev/ttyUSB0-7, COM13-20 /dev/ttyACM0-7; on Windows COMn is \\.\COMn. ""
/// for any other number.
std::string DefaultDevicePath(int com_number);

/// Device paths by COM number that were given for this run.
using PortOverrides = std::map<int, std::string>;

/// The device of a COM number: the one given for this run, else the one in the settings, else the
/// default one. An empty path counts as none. "" for a number outside 1..20 that is not given.
std::string DevicePath(const SettingsStore& settings, const PortOverrides& overrides,
                       int com_number);

/// A port as given on the command line.
struct PortOption {
  int Number = 1;    ///< 1 to 20
  std::string Path;  ///< device given for the number, "" for its usual one

  bool operator==(const PortOption&) const = default;
};

/// Parses "COM5", "COM5=PATH" ("COM" in either case, 1 to 20) or a bare path, which is anything
/// else with a folder separator in it. A bare path takes the number whose default it is, else
/// number 1. Nothing for any other text.
std::optional<PortOption> ParsePortOption(std::string_view text);

}  // namespace fenwright::platform
