#pragma once

#include <cstdint>

#include "core/run_context.h"

namespace fenwright::link {

/// Settings of the programmer's port: 57,600 baud, no parity, 8 data bits, 1 stop bit.
inline constexpr const char* kPortSettings = "57600,n,8,1";

/// Identifies the board on the open port and checks its firmware. Sets `version` and
/// `AppState::FirmwareVersionText`, and the flag: 0 = accepted, the board is in its extended
/// command set; 1 = no answer, or not a supported board; 2 = firmware older than 6.3.
///
/// The two thresholds differ on purpose: below 6.3 the board is refused, by a text that names
/// 6.38; below 6.38 AdviseFirmwareUpdate() advises and work goes on.
void DetectProgrammer(core::RunContext& context, double& version, std::int16_t& error);

/// True for a firmware that is accepted but older than 6.38.
bool UpdateIsAdvised(double version);

/// Advises an update, in a message box, when the board's firmware is older than 6.38.
void AdviseFirmwareUpdate(core::RunContext& context);

/// Opens the chosen port, detects the board and selects the device: true when the programmer is
/// ready. The port is left open then, and closed otherwise. Every device command starts with it.
bool CheckProgrammerLink(core::RunContext& context);

}  // namespace fenwright::link
