#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::link {

/// Identifies the board on the open port and checks its firmware. Sets `version` and
/// `AppState::FirmwareVersionText`, and the flag: 0 = accepted, the board is in its extended
/// command set; 1 = no answer, or not a supported board; 2 = firmware older than 6.3.
///
/// The two thresholds differ on purpose: below 6.3 the board is refused, by a text that names
/// 6.38; below 6.38 AdviseFirmwareUpdate() advises and work goes on.
void DetectProgrammer(core::RunContext& context, double& version, std::int16_t& error);

/// True when a version line begins as that of a supported board does.
bool IsSupportedModel(std::string_view version_line);

/// True for a firmware that is accepted but older than 6.38.
bool UpdateIsAdvised(double version);

/// Advises an update, in a message box, when the board's firmware is older than 6.38.
void AdviseFirmwareUpdate(core::RunContext& context);

// The parts of the link check, each of which does one thing.

/// Sets up the stored port and opens it. False when no port was ever chosen: that is said then.
bool OpenChosenPort(core::RunContext& context);

/// Identifies the board on the open port, and says why when there is none that can be used.
bool FindBoard(core::RunContext& context);

/// Gives the advice on the firmware, selects the device, and says that the programmer is ready.
bool SelectChosenDevice(core::RunContext& context);

/// That the port has gone, with its name and what to look at; "" while it is there.
std::string DescribeGonePort(const core::RunContext& context);

/// Opens the chosen port, detects the board and selects the device: true when the programmer is
/// ready. The port is left open then, and closed otherwise. Every device command starts with it.
bool CheckProgrammerLink(core::RunContext& context);

}  // namespace fenwright::link
