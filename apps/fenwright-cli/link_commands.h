#pragma once

#include "options.h"

namespace fenwright::cli {

/// Lists the COM numbers with their devices.
ExitCode RunPorts(const Options& options);

/// Looks for the board, offers it the device, and tells what both said.
ExitCode RunDetect(const Options& options);

/// Detects, measures the round trip, and tells what it means for programming the device.
ExitCode RunCheckLink(const Options& options);

}  // namespace fenwright::cli
