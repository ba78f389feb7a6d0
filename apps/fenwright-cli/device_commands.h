#pragma once

#include "options.h"

namespace fenwright::cli {

/// Erases, programs and verifies the device with the files of the call.
ExitCode RunProgram(const Options& options);

/// Reads the device and saves its memories to the files of the call.
ExitCode RunRead(const Options& options);

/// Compares the device with the files of the call and prints the differences.
ExitCode RunVerify(const Options& options);

/// Erases the device.
ExitCode RunErase(const Options& options);

/// Prints the flash dump of the call's code file, in UTF-8.
ExitCode RunDump(const Options& options);

}  // namespace fenwright::cli
