#pragma once

#include "options.h"

namespace fenwright::cli {

/// Reads the fuse, lock and calibration bytes of the device and prints each field.
ExitCode RunReadFuses(const Options& options);

/// Writes the fields of the call to the device, over what it has or over the defaults.
ExitCode RunWriteFuses(const Options& options);

}  // namespace fenwright::cli
