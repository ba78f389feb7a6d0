#include "verb.h"

namespace fenwright::cli {
namespace {

/// JSON text; bytes of a file name that are no UTF-8 are replaced.
std::string Dump(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

nlohmann::json ResultOf(const Verb& verb, const Outcome& outcome, const std::string& first_error) {
  if (outcome.Json.is_array()) return outcome.Json;
  nlohmann::json result{{"result", Name(outcome.Code)},
                        {"exit_code", static_cast<int>(outcome.Code)}};
  if (outcome.Json.is_null()) {
    result["message"] = first_error;
    if (!verb.RefusedFields) return result;
  }
  result["command"] = verb.Name;
  result.update(outcome.Json.is_null() ? verb.RefusedFields() : outcome.Json);
  return result;
}

}  // namespace

ExitCode RunVerb(const Verb& verb, const VerbRun& run, Options options) {
  options.Quiet = options.Quiet || verb.ResultOnly;
  Session session(options);
  Outcome outcome{.Code = session.Start(verb.Needed)};
  if (outcome.Code == ExitCode::Success) outcome = run(session);
  if (!options.Json) return outcome.Code;
  const std::string text = Dump(ResultOf(verb, outcome, session.Out().FirstError()));
  const bool told = session.Out().PrintAlways(text) || outcome.Json.is_null();
  return told ? outcome.Code : ExitCode::FileError;
}

}  // namespace fenwright::cli
