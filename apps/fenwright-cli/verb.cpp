#include "verb.h"

#include <chrono>

namespace fenwright::cli {
namespace {

/// JSON text; bytes of a file name that are no UTF-8 are replaced.
std::string Dump(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

nlohmann::json Heading(const std::string& command, ExitCode code, double seconds) {
  return {{"schema", kJsonSchema},
          {"command", command.empty() ? nlohmann::json(nullptr) : nlohmann::json(command)},
          {"result", Name(code)},
          {"exit_code", static_cast<int>(code)},
          {"seconds", seconds}};
}

}  // namespace

std::string JsonOfUsageError(const std::string& command, const core::Sentence& text,
                             core::Language language) {
  Options options{.Quiet = true, .Language = language};
  Session session(options);
  session.NoteError({.Code = problem::kUsage, .Text = text});
  nlohmann::json result = Heading(command, ExitCode::Usage, 0);
  result.update(session.CommonFields());
  return Dump(result);
}

ExitCode RunVerb(const Verb& verb, const VerbRun& run, Options options) {
  options.Quiet = options.Quiet || verb.ResultOnly;
  const auto start = std::chrono::steady_clock::now();
  Session session(options);
  Outcome outcome{.Code = session.Start(verb.Needed)};
  if (outcome.Code == ExitCode::Success) outcome = run(session);
  if (!options.Json) return outcome.Code;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  nlohmann::json result = Heading(verb.Name, outcome.Code, seconds.count());
  result.update(session.CommonFields());
  result.update(outcome.Json);
  const bool told = session.Out().PrintAlways(Dump(result));
  return told || outcome.Code != ExitCode::Success ? outcome.Code : ExitCode::FileError;
}

}  // namespace fenwright::cli
