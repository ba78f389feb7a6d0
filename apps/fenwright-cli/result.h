#pragma once

#include <functional>
#include <string>

#include <nlohmann/json.hpp>

#include "ops/command.h"
#include "options.h"
#include "session.h"

namespace fenwright::cli {

/// The exit code that a device command's end stands for.
ExitCode CodeOf(const core::AppState& state, core::CommandEnding ending);

/// An exit code in a word or two, "ok".
const char* Name(ExitCode code);

/// What a device command came to, as the object that --json prints.
nlohmann::json Result(Session& session, ExitCode code, double seconds);

/// What a device command came to, in words.
void PrintResult(Session& session, ExitCode code, double seconds);

/// JSON text; bytes of a file name that are no UTF-8 are replaced.
std::string Dump(const nlohmann::json& value);

/// Ends a call before anything was sent. With --json the cause, printed already, is the result.
ExitCode EndEarly(Session& session, const Options& options, ExitCode code);

/// A device command that was run.
struct CommandRun {
  ExitCode Code = ExitCode::Success;
  double Seconds = 0;
};
CommandRun TimeDeviceCommand(Session& session, const ops::Entry& command);

/// Runs a device command and tells its result. `save` stores what a successful one has brought; it
/// returns what went wrong, "" = nothing.
ExitCode RunDeviceCommand(Session& session, const Options& options, const ops::Entry& command,
                          const std::function<std::string()>& save = {});

}  // namespace fenwright::cli
