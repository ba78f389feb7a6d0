#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "explanations.h"
#include "ops/command.h"
#include "ops/link_commands.h"
#include "ops/trouble.h"
#include "platform/system/low_latency.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

constexpr int kExchanges = 200;
constexpr double kMilliseconds = 1e3;
/// A reply that takes longer than this beyond its time on the wire is worth doing something about.
constexpr double kLateSeconds = 0.002;

struct VerdictWords {
  ops::BoardVerdict Verdict;
  const char* Word;
  core::Sentence Sentence;
};

const VerdictWords& Verdict(const core::AppState& state) {
  static const auto kVerdicts = std::to_array<VerdictWords>({
      {ops::BoardVerdict::None,
       "none",
       {"対応しているライターの応答がありません", "no supported programmer answered"}},
      {ops::BoardVerdict::Unreadable,
       "unreadable",
       {"使えません。バージョンが数字ではありません。6.38 以降に更新してください",
        "refused: the board gives no version number; update its firmware to 6.38 or later"}},
      {ops::BoardVerdict::Refused,
       "refused",
       {"使えません。ファームウエアが古すぎます。6.38 以降に更新してください",
        "refused: the firmware is too old, update it to 6.38 or later"}},
      {ops::BoardVerdict::Advised,
       "advised",
       {"使えます。ファームウエアを 6.38 以降に更新することをお勧めします",
        "accepted; an update of the firmware to 6.38 or later is advised"}},
      {ops::BoardVerdict::Accepted, "accepted", {"使えます", "accepted"}},
  });
  return *std::ranges::find(kVerdicts, ops::VerdictOf(state), &VerdictWords::Verdict);
}

const char* Answer(const core::AppState& state) {
  switch (ops::DeviceAnswerOf(state)) {
    case ops::DeviceAnswer::Refused:
      return "refused";
    case ops::DeviceAnswer::Accepted:
      return "accepted";
    case ops::DeviceAnswer::NotAsked:
      break;
  }
  return "not asked";
}

core::Sentence AnswerSentence(const core::AppState& state) {
  switch (ops::DeviceAnswerOf(state)) {
    case ops::DeviceAnswer::Refused:
      return {"受け付けません", "refused"};
    case ops::DeviceAnswer::Accepted:
      return {"受け付けました", "accepted"};
    case ops::DeviceAnswer::NotAsked:
      break;
  }
  return {"尋ねていません", "not asked"};
}

bool BoardIsUsable(const core::AppState& state) {
  const ops::BoardVerdict verdict = ops::VerdictOf(state);
  return verdict == ops::BoardVerdict::Accepted || verdict == ops::BoardVerdict::Advised;
}

ExitCode CodeOfDetection(const Session& session, core::CommandEnding ending) {
  const core::AppState& state = session.State();
  const bool with_device = !session.Device().empty();
  if (ending == core::CommandEnding::Stopped) return ExitCode::Stopped;
  if (ending != core::CommandEnding::Finished) return ExitCode::FileError;
  if (state.Command.LinkReady) return ExitCode::Success;
  if (!with_device && BoardIsUsable(state)) return ExitCode::Success;
  const bool device_refused = ops::DeviceAnswerOf(state) == ops::DeviceAnswer::Refused;
  return device_refused ? ExitCode::Failed : ExitCode::NoProgrammer;
}

nlohmann::json DetectionFields(Session& session) {
  const core::AppState& state = session.State();
  nlohmann::json fields{{"device_path", state.LastPortOpen.Path}};
  fields["firmware"] = Verdict(state).Word;
  fields["device_answer"] = session.Device().empty() ? "not asked" : Answer(state);
  return fields;
}

void PrintDetection(Session& session) {
  const core::AppState& state = session.State();
  Console& out = session.Out();
  const std::string name = session.PortName();
  const std::string place = session.PortPlace();
  out.Print(fmt::format("{}{}{}", session.In({"ポート:         ", "port:     "}), name,
                        place == name ? "" : " (" + place + ")"));
  if (!state.FirmwareVersionText.empty()) {
    out.Print(session.In({"ボード:         ", "board:    "}) + state.FirmwareVersionText);
  }
  out.Print(session.In({"ファームウエア: ", "firmware: "}) + session.In(Verdict(state).Sentence));
  if (session.Device().empty()) return;
  out.Print(fmt::format("{}{}: {}", session.In({"デバイス:       ", "device:   "}),
                        session.Device(), session.In(AnswerSentence(state))));
}

/// Looks for the board, offers it the device, and tells what both said.
Outcome Detect(Session& session) {
  const core::CommandEnding ending = ops::RunCommand(session.Context(), ops::Detect);
  const ExitCode code = CodeOfDetection(session, ending);
  PrintDetection(session);
  if (code == ExitCode::Stopped) {
    session.FailStopped();
  } else if (code == ExitCode::FileError) {
    session.FailByFile();
  } else if (code != ExitCode::Success) {
    session.FailLink(code);
  } else if (ops::VerdictOf(session.State()) == ops::BoardVerdict::Advised) {
    session.NoteWarning({.Code = problem::kFirmwareAdvised,
                         .Text = FindExplanation(problem::kFirmwareAdvised)->Cause});
  }
  if (code != ExitCode::Success && !session.Json())
    session.Out().PrintError(session.In(Heading(code)));
  return {.Code = code, .Json = DetectionFields(session)};
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

Problem Advice(const LinkReport& report, const std::string& path) {
  const double late = report.Extra * kMilliseconds;
  return {.Code = problem::kSlowLink,
          .Text = {fmt::format("応答が毎回 {:.1f} ms 遅れています。USBアダプターが応答をためている"
                               "ことがほとんどです: {}。ハブを通さずにつなぐか、本体のシリアル"
                               "ポートを使ってください",
                               late, platform::LowLatencyCure(path)),
                   fmt::format("every reply comes {:.1f} ms late. Most often a USB adapter holds "
                               "replies back: {}; connect it without a hub, or use a serial port "
                               "of the machine itself",
                               late, platform::LowLatencyCure(path))}};
}

nlohmann::json ReportAsJson(const Session& session, const LinkReport& report) {
  nlohmann::json fields{{"exchanges", report.Times.size()},
                        {"minimum_ms", report.Spread.Minimum * kMilliseconds},
                        {"median_ms", report.Spread.Median * kMilliseconds},
                        {"maximum_ms", report.Spread.Maximum * kMilliseconds},
                        {"wire_ms", ops::RoundTripWireSeconds() * kMilliseconds},
                        {"forecast_write_seconds", nullptr},
                        {"forecast_verify_seconds", nullptr}};
  if (!session.Device().empty()) {
    fields["forecast_write_seconds"] = report.Forecast.WriteSeconds;
    fields["forecast_verify_seconds"] = report.Forecast.VerifySeconds;
  }
  return fields;
}

void PrintReport(Session& session, const LinkReport& report) {
  Console& out = session.Out();
  out.Print(fmt::format(
      fmt::runtime(session.In({"往復: 最小 {:.2f} ms、中央 {:.2f} ms、最大 {:.2f} ms "
                               "({}回、うち回線の時間は {:.2f} ms)",
                               "round trip: minimum {:.2f} ms, median {:.2f} ms, maximum {:.2f} ms "
                               "({} exchanges, {:.2f} ms of each on the wire)"})),
      report.Spread.Minimum * kMilliseconds, report.Spread.Median * kMilliseconds,
      report.Spread.Maximum * kMilliseconds, report.Times.size(),
      ops::RoundTripWireSeconds() * kMilliseconds));
  if (session.Device().empty()) return;
  out.Print(fmt::format(
      fmt::runtime(session.In({"見込み: {} 全体で、書き込み {:.1f} 秒、ベリファイ {:.1f} 秒と、"
                               "デバイスの作業時間",
                               "forecast: {} in full: {:.1f} s to write, {:.1f} s to verify, and "
                               "what the chip itself takes"})),
      session.Device(), report.Forecast.WriteSeconds, report.Forecast.VerifySeconds));
}

/// Detects, measures the round trip, and tells what it means for programming the device.
Outcome CheckLink(Session& session) {
  Outcome outcome = Detect(session);
  if (outcome.Code != ExitCode::Success) return outcome;
  std::vector<double> times;
  const core::CommandEnding ending = ops::RunCommand(
      session.Context(),
      [&times](core::RunContext& context) { ops::MeasureRoundTrips(context, kExchanges, times); });
  const LinkReport report = MakeReport(session.Context(), std::move(times));
  if (ending != core::CommandEnding::Finished) {
    outcome.Code = CodeOfDetection(session, ending);
  } else if (!report.IsComplete()) {
    outcome.Code = ExitCode::Failed;
  }
  outcome.Json.update(ReportAsJson(session, report));
  if (report.IsLate()) session.Warn(Advice(report, session.State().LastPortOpen.Path));
  if (!report.Times.empty() && !session.Json()) PrintReport(session, report);
  if (outcome.Code != ExitCode::Success) {
    if (outcome.Code == ExitCode::Stopped) {
      session.FailStopped();
    } else {
      session.Fail(outcome.Code,
                   {.Code = ops::trouble::kNoReply,
                    .Text = {fmt::format("{}回のうち{}回目のやり取りに応答がありませんでした",
                                         kExchanges, report.Times.size() + 1),
                             fmt::format("exchange {} of {} was not answered",
                                         report.Times.size() + 1, kExchanges)}});
    }
  }
  return outcome;
}

/// The link check offers a device to the board; without one of the call any will do.
constexpr Needs kBoardOnPort{.Folder = true, .AnyDevice = true, .Port = true};

}  // namespace

const Verb kDetect{
    .Name = "detect",
    .Description = "look for the programmer, and offer it the device if one is named",
    .Needed = kBoardOnPort,
    .Bind = [](CLI::App&) -> VerbRun { return Detect; },
    .Examples = {{{"--port COM5 detect", "このポートにボードがあるかを調べます",
                   "see whether the board is on that port"}}}};

const Verb kCheckLink{
    .Name = "check-link",
    .Description =
        "measure how long the programmer takes to answer, and what that means for programming",
    .Needed = kBoardOnPort,
    .Bind = [](CLI::App&) -> VerbRun { return CheckLink; },
    .Examples = {{{"--port COM5 check-link", "アダプターが遅くないかを調べます",
                   "see whether the adapter is slow"}}}};

}  // namespace fenwright::cli
