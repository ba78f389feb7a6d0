#pragma once

#include <string_view>

namespace fenwright::core {

/// Name under which the platform's per-user store keeps the program's settings.
inline constexpr std::string_view kApplicationName = "FenwrightV6";

/// Section and keys of the main program; values are texts, numbers in decimal.
inline constexpr std::string_view kSettingsSection = "Settings";
inline constexpr std::string_view kDeviceKey = "device";        ///< selector index
inline constexpr std::string_view kPortNumberKey = "ComNox";    ///< n of COMn, 0 = none chosen
inline constexpr std::string_view kOpenFolderKey = "OPEN_DIR";  ///< folder of the last opened file

inline constexpr std::string_view kSaveFolderKey = "SAVE_DIR";  ///< folder of the last saved file

/// Section of the device paths behind the port numbers, keys "COM1" to "COM20".
inline constexpr std::string_view kPortsSection = "Ports";

}  // namespace fenwright::core
