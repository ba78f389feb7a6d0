#pragma once

#include <functional>

#include <nlohmann/json.hpp>

#include "options.h"
#include "session.h"

namespace fenwright::cli {

/// What a verb came to.
struct Outcome {
  ExitCode Code = ExitCode::Success;
  /// For --json: the fields beside "command", "result" and "exit_code"; a list is printed as it is.
  /// Nothing at all stands for a call that was refused: the first error printed is the message.
  nlohmann::json Json;
};

using VerbRun = std::function<Outcome(Session&)>;

/// A verb of the command line. Its file in verbs/ defines it, verbs.h lists it.
struct Verb {
  const char* Name;
  const char* Description;
  Needs Needed;
  /// Adds the verb's own options to its subcommand. What it returns runs the verb with the values
  /// they were given, on a session that has what the verb needs.
  VerbRun (*Bind)(CLI::App& command);
  /// Standard output gets the result and nothing else, as with --quiet.
  bool ResultOnly = false;
  /// For --json, the fields of a call that was refused, if there are more than for other verbs.
  nlohmann::json (*RefusedFields)() = nullptr;
};

/// Gives the verb what it needs, runs it, and prints its result if --json asks for one.
ExitCode RunVerb(const Verb& verb, const VerbRun& run, Options options);

}  // namespace fenwright::cli
