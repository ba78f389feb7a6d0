#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ops/command.h"
#include "ops/verdict.h"
#include "verb.h"

namespace fenwright::cli {

/// A device command that was run.
struct DeviceRun {
  ExitCode Code = ExitCode::Success;
  double Seconds = 0;
  core::CommandEnding Ending = core::CommandEnding::Finished;
  ops::Verdict Verdict;  ///< on the differences that a verify has found
};
/// Runs it. When a verify finds differences that one reading does not explain, their cells are read
/// once more.
DeviceRun RunOnDevice(Session& session, const ops::Entry& command);

/// Tells in words what a device command came to, unless --json asks for the fields; `more` goes
/// over them.
Outcome TellDeviceRun(Session& session, const DeviceRun& run,
                      const nlohmann::json& more = nlohmann::json::object());

/// The verdict on the differences and the picture of the memories that differ, line by line;
/// nothing where nothing differs.
std::vector<std::string> DescribeVerdict(const Session& session, const ops::Verdict& verdict);

}  // namespace fenwright::cli
