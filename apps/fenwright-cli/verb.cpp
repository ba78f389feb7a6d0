#include "verb.h"

#include <fmt/format.h>

namespace fenwright::cli {
namespace {

/// JSON text; bytes of a file name that are no UTF-8 are replaced. JSON takes DEL and the second
/// set of control characters as they are, a terminal does not: they can stand inside texts alone.
std::string Dump(const nlohmann::json& value) {
  constexpr unsigned char kDelete = 0x7F;
  constexpr unsigned char kSecondSet = 0xC2;
  constexpr unsigned char kLastControl = 0x9F;
  const std::string text = value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (byte == kDelete) {
      shown += "\\u007f";
    } else if (byte == kSecondSet && next <= kLastControl) {
      shown += fmt::format("\\u{:04x}", next);
      ++i;
    } else {
      shown += text[i];
    }
  }
  return shown;
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
