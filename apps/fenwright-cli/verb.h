#pragma once

#include <array>
#include <functional>

#include <nlohmann/json.hpp>

#include "options.h"
#include "session.h"

namespace fenwright::cli {

/// What a verb came to.
struct Outcome {
  ExitCode Code = ExitCode::Success;
  /// For --json: the verb's own fields, beside those that every result has.
  nlohmann::json Json = nlohmann::json::object();
};

using VerbRun = std::function<Outcome(Session&)>;

/// A call from which a verb can be learned.
struct Example {
  const char* Arguments = nullptr;  ///< behind the program's name; null: no example
  const char* Japanese = nullptr;   ///< what it does
  const char* English = nullptr;
};

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
  /// May work on several boards at once.
  bool SeveralBoards = false;
  /// For its help, the most usual call first.
  std::array<Example, 4> Examples{};
};

/// The version of the form of the JSON: it grows when a field goes or changes its meaning.
inline constexpr int kJsonSchema = 1;

/// The JSON of a call that did not come as far as a verb.
std::string JsonOfUsageError(const std::string& command, const core::Sentence& text,
                             core::Language language);

/// The JSON that every result begins with.
nlohmann::json HeadingFields(const std::string& command, ExitCode code, double seconds);

/// Prints the object of a call with --json; returns the code that the call ends with.
ExitCode PrintJson(Session& session, const nlohmann::json& object, ExitCode code);

/// Runs the verb on a session of its own: what it needs, and the verb itself.
Outcome RunOnSession(const Verb& verb, const VerbRun& run, Session& session);

/// Gives the verb what it needs, runs it, and prints its result if --json asks for one.
ExitCode RunVerb(const Verb& verb, const VerbRun& run, Options options);

}  // namespace fenwright::cli
