#pragma once

#include "options.h"

namespace fenwright::cli {

/// Prints the version that the board gives.
ExitCode RunBoardVersion(const Options& options);

/// Replaces the board's own firmware by the file of the call. A file that can be no firmware image
/// is refused before the board hears of it.
ExitCode RunUpdateFirmware(const Options& options);

}  // namespace fenwright::cli
