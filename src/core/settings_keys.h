#pragma once

#include <string_view>

#include "screen/main_form.h"

namespace fenwright::core {

/// Name under which the platform's per-user store keeps the program's settings.
inline constexpr std::string_view kApplicationName = "FenwrightV6";

/// Section and keys of the main program; values are texts, numbers in decimal.
inline constexpr std::string_view kSettingsSection = "Settings";
inline constexpr std::string_view kDeviceKey = "device";        ///< selector index
inline constexpr std::string_view kPortNumberKey = "ComNox";    ///< n of COMn, 0 = none chosen
inline constexpr std::string_view kOpenFolderKey = "OPEN_DIR";  ///< folder of the last opened file

inline constexpr std::string_view kSaveFolderKey = "SAVE_DIR";  ///< folder of the last saved file

/// 0 or missing until the COM port dialog of the first run has been shown.
inline constexpr std::string_view kComPortAskedKey = "Index_Com_Flag";

inline constexpr std::string_view kGuideLeftKey = "IndLeft";  ///< device insertion guide, in twips
inline constexpr std::string_view kGuideTopKey = "IndTop";

/// Keys of a window's place, and where the window stands until it has been moved, in twips.
struct PlaceKeys {
  std::string_view Left;
  std::string_view Top;
  std::string_view Width;
  std::string_view Height;
  screen::TwipsPlace Default;
};

inline constexpr PlaceKeys kMainWindowKeys{
    .Left = "MainLeft",
    .Top = "MainTop",
    .Width = "MainWidth",
    .Height = "MainHeight",
    .Default = {.Left = 100, .Top = 100, .Width = 11300, .Height = 7900}};
inline constexpr PlaceKeys kFlashViewKeys{
    .Left = "PgmLeft",
    .Top = "PgmTop",
    .Width = "PgmWidth",
    .Height = "PgmHeight",
    .Default = {.Left = 50, .Top = 50, .Width = 5400, .Height = 4000}};
inline constexpr PlaceKeys kEepromViewKeys{
    .Left = "EEpLeft",
    .Top = "EEpTop",
    .Width = "EEpWidth",
    .Height = "EEpHeight",
    .Default = {.Left = 50, .Top = 4100, .Width = 5400, .Height = 2000}};

/// Section and keys of the firmware update dialog. The port is deliberately written under one key
/// and read under the other, so it is not remembered from one opening of the dialog to the next.
inline constexpr std::string_view kUpdateSection = "Settings6";
inline constexpr std::string_view kUpdatePortReadKey = "ComNo";    ///< never written
inline constexpr std::string_view kUpdatePortWrittenKey = "Com";   ///< never read
inline constexpr std::string_view kUpdateSpeedKey = "Speed";       ///< text of the speed selector
inline constexpr std::string_view kUpdateFolderKey = "OPEN_DIR0";  ///< folder of the update file

}  // namespace fenwright::core
