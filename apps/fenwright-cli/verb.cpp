#include "verb.h"

#include <chrono>

#include <fmt/format.h>

#include "boards.h"
#include "explanations.h"

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

}  // namespace

nlohmann::json HeadingFields(const std::string& command, ExitCode code, double seconds) {
  return {{"schema", kJsonSchema},
          {"command", command.empty() ? nlohmann::json(nullptr) : nlohmann::json(command)},
          {"result", Name(code)},
          {"exit_code", ProcessCode(code)},
          {"seconds", seconds}};
}

std::string JsonOfUsageError(const std::string& command, const core::Sentence& text,
                             core::Language language) {
  Options options{.Quiet = true, .Language = language};
  Session session(options);
  session.NoteError({.Code = problem::kUsage, .Text = text});
  nlohmann::json result = HeadingFields(command, ExitCode::Usage, 0);
  result.update(session.CommonFields());
  return Dump(result);
}

Outcome RunOnSession(const Verb& verb, const VerbRun& run, Session& session) {
  Outcome outcome{.Code = session.Start(verb.Needed)};
  if (outcome.Code == ExitCode::Success) outcome = run(session);
  if (session.Json() || session.HasError() || session.Out().ResultWritten()) return outcome;
  outcome.Code = session.Fail(ExitCode::FileError,
                              {.Code = problem::kOutputUnwritable,
                               .Text = FindExplanation(problem::kOutputUnwritable)->Cause});
  return outcome;
}

ExitCode PrintJson(Session& session, const nlohmann::json& object, ExitCode code) {
  const bool told = session.Out().PrintAlways(Dump(object));
  if (!told && !session.HasError()) {
    session.Fail(ExitCode::FileError, {.Code = problem::kOutputUnwritable,
                                       .Text = FindExplanation(problem::kOutputUnwritable)->Cause});
  }
  return told || code != ExitCode::Success ? code : ExitCode::FileError;
}

ExitCode RunVerb(const Verb& verb, const VerbRun& run, Options options) {
  options.Quiet = options.Quiet || verb.ResultOnly;
  if (NamesSeveralBoards(options)) return RunOnBoards(verb, run, options);
  if (!options.Ports.empty()) options.Port = options.Ports.front();
  const auto start = std::chrono::steady_clock::now();
  Session session(options);
  const Outcome outcome = RunOnSession(verb, run, session);
  if (!options.Json) return outcome.Code;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  nlohmann::json result = HeadingFields(verb.Name, outcome.Code, seconds.count());
  result.update(session.CommonFields());
  result.update(outcome.Json);
  return PrintJson(session, result, outcome.Code);
}

}  // namespace fenwright::cli
