#pragma once

#include "options.h"

namespace fenwright::cli {

/// Erases, programs and verifies the device with the files of the call.
ExitCode RunProgram(const Options& options);

}  // namespace fenwright::cli
