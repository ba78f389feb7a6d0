#include "link_commands.h"

#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "ops/command.h"
#include "ops/link_commands.h"
#include "platform/system/low_latency.h"
#include "result.h"
#include "session.h"

namespace fenwright::cli {
namespace {

using ops::BoardVerdict;
using ops::DeviceAnswer;
using platform::PortInfo;
using platform::PortState;

constexpr int kExchanges = 200;
constexpr double kMilliseconds = 1e3;
/// A reply that takes longer than this beyond its time on the wire is worth doing something about.
constexpr double kLateSeconds = 0.002;

const char* Word(PortState state) {
  switch (state) {
    case PortState::Usable:
      return "usable";
    case PortState::NoPermission:
      return "no permission";
    case PortState::Busy:
      return "in use";
    case PortState::Missing:
      break;
  }
  return "missing";
}

const char* Word(BoardVerdict verdict) {
  switch (verdict) {
    case BoardVerdict::Refused:
      return "refused";
    case BoardVerdict::Advised:
      return "advised";
    case BoardVerdict::Accepted:
      return "accepted";
    case BoardVerdict::None:
      break;
  }
  return "none";
}

const char* Word(DeviceAnswer answer) {
  switch (answer) {
    case DeviceAnswer::Refused:
      return "refused";
    case DeviceAnswer::Accepted:
      return "accepted";
    case DeviceAnswer::NotAsked:
      break;
  }
  return "not asked";
}

const char* Sentence(BoardVerdict verdict) {
  switch (verdict) {
    case BoardVerdict::Refused:
      return "refused: the firmware is too old, update it to 6.38 or later";
    case BoardVerdict::Advised:
      return "accepted; an update of the firmware to 6.38 or later is advised";
    case BoardVerdict::Accepted:
      return "accepted";
    case BoardVerdict::None:
      break;
  }
  return "no supported programmer answered";
}

std::string PortName(const core::RunContext& context) {
  return fmt::format("COM{}", context.Line.ProgrammerPort.CommPort());
}

ExitCode CodeOfDetection(const core::AppState& state, core::CommandEnding ending) {
  if (ending == core::CommandEnding::Stopped) return ExitCode::Stopped;
  if (ending != core::CommandEnding::Finished) return ExitCode::FileError;
  if (state.Command.LinkReady) return ExitCode::Success;
  const bool device_refused = ops::DeviceAnswerOf(state) == DeviceAnswer::Refused;
  return device_refused ? ExitCode::Failed : ExitCode::NoProgrammer;
}

nlohmann::json DetectionAsJson(Session& session, const char* command, ExitCode code) {
  const core::RunContext& context = session.Context();
  const core::AppState& state = context.State;
  return {{"command", command},
          {"result", Name(code)},
          {"exit_code", static_cast<int>(code)},
          {"port", PortName(context)},
          {"device_path", state.LastPortOpen.Path},
          {"board_version", state.FirmwareVersionText},
          {"firmware", Word(ops::VerdictOf(state))},
          {"device", context.Screen.DeviceForm.DeviceText()},
          {"device_answer", Word(ops::DeviceAnswerOf(state))},
          {"message", state.StatusText},
          {"cause", state.Command.LinkReady ? "" : session.Dialog().Detail()}};
}

void PrintDetection(Session& session) {
  const core::RunContext& context = session.Context();
  const core::AppState& state = context.State;
  Console& out = session.Out();
  const std::string& path = state.LastPortOpen.Path;
  out.Print(fmt::format("port:     {}{}", PortName(context),
                        path.empty() ? std::string() : " (" + path + ")"));
  if (!state.FirmwareVersionText.empty()) {
    out.Print("board:    " + state.FirmwareVersionText);
  }
  out.Print(fmt::format("firmware: {}", Sentence(ops::VerdictOf(state))));
  out.Print(fmt::format("device:   {}: {}", context.Screen.DeviceForm.DeviceText(),
                        Word(ops::DeviceAnswerOf(state))));
}

void PrintFailure(Session& session, ExitCode code) {
  if (code == ExitCode::Success) return;
  Console& out = session.Out();
  out.PrintError("error: " + session.Context().State.StatusText);
  if (!session.Dialog().Detail().empty()) out.PrintError(session.Dialog().Detail());
  out.PrintError(Name(code));
}

ExitCode Detect(Session& session) {
  const core::CommandEnding ending = ops::RunCommand(session.Context(), ops::Detect);
  return CodeOfDetection(session.Context().State, ending);
}

/// What a round trip comes to; all times in seconds.
struct LinkReport {
  std::vector<double> Times;
  ops::TimeSpread Spread;
  double Extra = 0;  ///< of the middle one, beyond its time on the wire
  ops::ProgrammingForecast Forecast;

  [[nodiscard]] bool IsComplete() const { return Times.size() == kExchanges; }
  [[nodiscard]] bool IsLate() const { return Extra > kLateSeconds; }
};

LinkReport MakeReport(const core::RunContext& context, std::vector<double> times) {
  LinkReport report{.Times = std::move(times)};
  report.Spread = ops::SpreadOf(report.Times);
  report.Extra = std::max(0.0, report.Spread.Median - ops::RoundTripWireSeconds());
  report.Forecast = ops::Forecast(context, report.Extra);
  return report;
}

std::string Advice(const LinkReport& report, const std::string& path) {
  return fmt::format(
      "every reply comes {:.1f} ms late. Most often a USB adapter holds replies back: {}; connect "
      "it without a hub, or use a serial port of the machine itself",
      report.Extra * kMilliseconds, platform::LowLatencyCure(path));
}

nlohmann::json ReportAsJson(const LinkReport& report, const std::string& path) {
  return {{"exchanges", report.Times.size()},
          {"minimum_ms", report.Spread.Minimum * kMilliseconds},
          {"median_ms", report.Spread.Median * kMilliseconds},
          {"maximum_ms", report.Spread.Maximum * kMilliseconds},
          {"wire_ms", ops::RoundTripWireSeconds() * kMilliseconds},
          {"forecast_write_seconds", report.Forecast.WriteSeconds},
          {"forecast_verify_seconds", report.Forecast.VerifySeconds},
          {"advice", report.IsLate() ? Advice(report, path) : ""}};
}

void PrintReport(Session& session, const LinkReport& report) {
  Console& out = session.Out();
  out.Print(
      fmt::format("round trip: minimum {:.2f} ms, median {:.2f} ms, maximum {:.2f} ms "
                  "({} exchanges, {:.2f} ms of each on the wire)",
                  report.Spread.Minimum * kMilliseconds, report.Spread.Median * kMilliseconds,
                  report.Spread.Maximum * kMilliseconds, report.Times.size(),
                  ops::RoundTripWireSeconds() * kMilliseconds));
  out.Print(
      fmt::format("forecast: {} in full: {:.1f} s to write, {:.1f} s to verify, and what the "
                  "chip itself takes",
                  session.Context().Screen.DeviceForm.DeviceText(), report.Forecast.WriteSeconds,
                  report.Forecast.VerifySeconds));
  if (report.IsLate()) {
    out.PrintError("advice: " + Advice(report, session.Context().State.LastPortOpen.Path));
  }
}

nlohmann::json AsJson(const PortInfo& port) {
  return {{"number", port.Number},     {"name", fmt::format("COM{}", port.Number)},
          {"device_path", port.Path},  {"description", port.Description},
          {"state", Word(port.State)}, {"reason", port.Reason}};
}

/// The absence of a device needs no words; the other causes come with their cure.
bool NeedsReason(const PortInfo& port) {
  if (port.State == PortState::Usable || port.Reason.empty()) return false;
  std::error_code ignored;
  return port.State != PortState::Missing || std::filesystem::exists(port.Path, ignored);
}

std::string Line(const PortInfo& port) {
  std::string line = fmt::format("{:5}  {:13}  {:13}", fmt::format("COM{}", port.Number), port.Path,
                                 Word(port.State));
  if (!port.Description.empty()) line += "  " + port.Description;
  while (line.ends_with(' ')) line.pop_back();
  if (NeedsReason(port)) line += "\n       " + port.Reason;
  return line;
}

}  // namespace

ExitCode RunPorts(const Options& options) {
  Session session(options);
  std::unique_ptr<platform::PortInfos> ports;
  if (const ExitCode code = session.FindPorts(ports); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  nlohmann::json list = nlohmann::json::array();
  std::string lines;
  for (int number = 1; number <= platform::kLastComNumber; ++number) {
    const PortInfo port = ports->Describe(number);
    list.push_back(AsJson(port));
    lines += Line(port) + "\n";
  }
  const bool printed = session.Out().PrintAlways(options.Json ? Dump(list) : lines);
  return printed ? ExitCode::Success : ExitCode::FileError;
}

ExitCode RunDetect(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  const ExitCode code = Detect(session);
  if (options.Json) {
    const bool printed = session.Out().PrintAlways(Dump(DetectionAsJson(session, "detect", code)));
    return printed ? code : ExitCode::FileError;
  }
  PrintDetection(session);
  PrintFailure(session, code);
  return code;
}

ExitCode RunCheckLink(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  ExitCode code = Detect(session);
  nlohmann::json json = DetectionAsJson(session, "check-link", code);
  if (!options.Json) PrintDetection(session);
  if (code != ExitCode::Success) {
    if (options.Json) session.Out().PrintAlways(Dump(json));
    if (!options.Json) PrintFailure(session, code);
    return code;
  }
  std::vector<double> times;
  const core::CommandEnding ending = ops::RunCommand(
      session.Context(),
      [&times](core::RunContext& context) { ops::MeasureRoundTrips(context, kExchanges, times); });
  const LinkReport report = MakeReport(session.Context(), std::move(times));
  if (ending != core::CommandEnding::Finished) {
    code = CodeOfDetection(session.Context().State, ending);
  } else if (!report.IsComplete()) {
    code = ExitCode::Failed;
  }
  const std::string complaint =
      code == ExitCode::Success
          ? ""
          : fmt::format("exchange {} of {} was not answered", report.Times.size() + 1, kExchanges);
  if (options.Json) {
    json.update(ReportAsJson(report, session.Context().State.LastPortOpen.Path));
    json["result"] = Name(code);
    json["exit_code"] = static_cast<int>(code);
    if (!complaint.empty()) json["message"] = complaint;
    return session.Out().PrintAlways(Dump(json)) ? code : ExitCode::FileError;
  }
  if (!report.Times.empty()) PrintReport(session, report);
  if (!complaint.empty()) session.Out().PrintError("error: " + complaint);
  return code;
}

}  // namespace fenwright::cli
