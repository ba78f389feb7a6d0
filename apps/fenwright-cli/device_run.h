#pragma once

#include <nlohmann/json.hpp>

#include "ops/command.h"
#include "verb.h"

namespace fenwright::cli {

/// A device command that was run.
struct DeviceRun {
  ExitCode Code = ExitCode::Success;
  double Seconds = 0;
  core::CommandEnding Ending = core::CommandEnding::Finished;
};
DeviceRun RunOnDevice(Session& session, const ops::Entry& command);

/// Tells in words what a device command came to, unless --json asks for the fields; `more` goes
/// over them.
Outcome TellDeviceRun(Session& session, const DeviceRun& run,
                      const nlohmann::json& more = nlohmann::json::object());

}  // namespace fenwright::cli
