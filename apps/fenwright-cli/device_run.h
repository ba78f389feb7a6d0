#pragma once

#include <nlohmann/json.hpp>

#include "core/command.h"
#include "verb.h"

namespace fenwright::cli {

using DeviceCommand = core::CommandEnding (*)(core::RunContext&);

/// A device command that was run.
struct DeviceRun {
  ExitCode Code = ExitCode::Success;
  double Seconds = 0;
};
DeviceRun RunOnDevice(Session& session, DeviceCommand command);

/// Tells in words what a device command came to, unless --json asks for the fields; `more` goes
/// over them.
Outcome TellDeviceRun(Session& session, const DeviceRun& run,
                      const nlohmann::json& more = nlohmann::json::object());

}  // namespace fenwright::cli
