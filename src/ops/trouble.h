#pragma once

#include <string_view>

#include "core/app_state.h"

namespace fenwright::ops {

/// Stable words for what keeps a command from succeeding: scripts compare them, users look them up.
namespace trouble {
inline constexpr std::string_view kNoProgrammer = "no-programmer";
inline constexpr std::string_view kPortDenied = "port-denied";
inline constexpr std::string_view kPortBusy = "port-busy";
inline constexpr std::string_view kPortFailed = "port-failed";
inline constexpr std::string_view kOtherDevice = "other-device";
inline constexpr std::string_view kFirmwareTooOld = "firmware-too-old";
inline constexpr std::string_view kDeviceRefused = "device-refused";
inline constexpr std::string_view kNoReply = "no-reply";
inline constexpr std::string_view kWrongReply = "wrong-reply";
inline constexpr std::string_view kPortGone = "port-gone";
inline constexpr std::string_view kNoSignature = "no-signature";
inline constexpr std::string_view kWrongChip = "wrong-chip";
inline constexpr std::string_view kDifferences = "differences";
inline constexpr std::string_view kEraseUnconfirmed = "erase-unconfirmed";
}  // namespace trouble

/// The word for what kept the last command from succeeding, "" when nothing did. It is about line,
/// board and chip: not to be asked of a command that was stopped, or that a file ended.
std::string_view TroubleOf(const core::AppState& state);

/// The word for a port that could not be opened, "" for one that was.
std::string_view TroubleOf(const platform::PortOpenResult& opened);

}  // namespace fenwright::ops
