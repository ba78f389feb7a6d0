#include "device_run.h"

#include <algorithm>
#include <chrono>
#include <span>

#include <fmt/format.h>

#include "core/file_reason.h"
#include "core/trace_log.h"
#include "explanations.h"
#include "image/dump_files.h"
#include "ops/link_commands.h"
#include "ops/outcome.h"
#include "ops/second_reading.h"
#include "ops/trouble.h"
#include "ops/verify_device.h"

namespace fenwright::cli {
namespace {

/// True when a board was found but could not be used, or none was found at all.
bool NoUsableProgrammer(const core::AppState& state) {
  return ops::DeviceAnswerOf(state) == ops::DeviceAnswer::NotAsked;
}

ExitCode CodeOf(const core::AppState& state, core::CommandEnding ending) {
  if (ending == core::CommandEnding::Stopped) return ExitCode::Stopped;
  if (ending == core::CommandEnding::FileError) return ExitCode::FileError;
  if (ops::Succeeded(state)) return ExitCode::Success;
  return NoUsableProgrammer(state) ? ExitCode::NoProgrammer : ExitCode::Failed;
}

/// Of a part of a longer work: what was done before it, and what it did itself.
std::string ChipState(Session& session) {
  const std::string own = ops::DescribeChipState(session.State(), session.Language());
  const std::string& earlier = session.In(session.EarlierWork().Done);
  if (earlier.empty()) return own;
  const bool bits_changed = session.State().Command.FuseWriteStarted;
  return earlier + session.In({"。", "; "}) +
         (bits_changed ? own : session.In(session.EarlierWork().Bits));
}

std::string ReportPath(Session& session) {
  return session.State().AppFolder + std::string(ops::kVerifyReportFile);
}

nlohmann::json FieldsOf(Session& session, const DeviceRun& run) {
  const core::CommandRecord& done = session.State().Command;
  nlohmann::json fields{{"erased", done.Erased},
                        {"flash_words_written", done.FlashWordsWritten},
                        {"eeprom_bytes_done", done.EepromBytesDone},
                        {"chip_state", ChipState(session)},
                        {"device_seconds", run.Seconds},
                        {"flash_write_seconds", done.FlashWriteSeconds},
                        {"flash_verify_seconds", done.FlashVerifySeconds},
                        {"verified", nullptr},
                        {"verdict", nullptr}};
  if (done.VerifyFinished) {
    fields["verified"] = {{"flash", !session.State().FlashNG},
                          {"eeprom", !session.State().EepromNG}};
  }
  if (run.Verdict.Kind != ops::VerdictKind::None) {
    fields["verdict"] = {{"code", ops::WordOf(run.Verdict.Kind)},
                         {"text", session.In(run.Verdict.Text)}};
  }
  return fields;
}

/// A dump that was to be kept and could not be written, "" when there is none.
core::Sentence RefusedDump(Session& session) {
  const core::AppState& state = session.State();
  if (!session.KeepsFiles()) return {};
  const bool flash = !state.FlashDumpRefusal;
  if (!flash && state.EepromDumpRefusal) return {};
  const platform::FileResult& refusal = flash ? state.FlashDumpRefusal : state.EepromDumpRefusal;
  const std::string path =
      state.AppFolder + std::string(flash ? image::kFlashDumpFile : image::kEepromDumpFile);
  return {fmt::format("{}: 書けません: {}", path, core::DescribeReason(refusal)),
          fmt::format("{}: cannot be written: {}", path, refusal.Reason)};
}

/// On standard error.
void PrintFirstDifferences(Session& session) {
  constexpr std::size_t kMost = 32;
  const auto& differences = session.State().Command.Differences;
  for (const core::Difference& difference :
       std::span(differences).first(std::min(kMost, differences.size()))) {
    session.Out().PrintError(ops::DescribeDifference(difference));
  }
  if (differences.size() > kMost) {
    session.Out().PrintError(
        fmt::format(fmt::runtime(session.In({"ほかに {} か所", "... and {} more"})),
                    differences.size() - kMost));
  }
}

/// What the run failed by, unless a verb has told it already.
void TellFailure(Session& session, const DeviceRun& run) {
  const ExitCode code = run.Code;
  const core::AppState& state = session.State();
  if (code == ExitCode::NoProgrammer) {
    session.FailLink(code);
  } else if (code == ExitCode::Stopped) {
    session.NoteError(
        {.Code = problem::kStopped, .Text = FindExplanation(problem::kStopped)->Cause});
  } else if (run.Ending == core::CommandEnding::FileError) {
    session.FailByFile();
  } else if (const core::Sentence refused = RefusedDump(session); !refused.English.empty()) {
    session.Fail(code, {.Code = problem::kFileUnwritable, .Text = refused});
  } else if (code == ExitCode::Failed && state.Command.VerifyFinished) {
    const std::string_view word = ops::TroubleOf(state);
    session.NoteError({.Code = word, .Text = OfEngine(state.MessageText)});
  } else {
    const std::string& text =
        state.Command.LastFailure.empty() ? state.StatusText : state.Command.LastFailure;
    const std::string& socket = state.Command.SocketCause;
    session.Fail(code, {.Code = ops::TroubleOf(state),
                        .Text = OfEngine(socket.empty() ? text : text + "\n" + socket)});
  }
}

std::string InSeconds(const Session& session, double seconds) {
  return fmt::format(fmt::runtime(session.In({" ({:.1f} 秒)", " in {:.1f} s"})), seconds);
}

/// How much of the device a program run has filled, "" for any other.
std::string UsageOf(const Session& session) {
  const core::AppState& state = session.State();
  if (state.Command.Operation != core::DeviceOperation::Program) return "";
  return fmt::format(
      fmt::runtime(
          session.In({"、{} / {} ワード、{} / {} バイト", ", {} of {} words, {} of {} bytes"})),
      state.FlashProgramCount, state.FlashWords, state.EepromProgramCount, state.EepromBytes);
}

void Print(Session& session, const DeviceRun& run) {
  const std::string sentence = ChipState(session);
  Console& out = session.Out();
  if (run.Code == ExitCode::Success) {
    out.Print(session.In(Heading(run.Code)) + ": " + sentence + InSeconds(session, run.Seconds) +
              UsageOf(session));
    return;
  }
  if (run.Code == ExitCode::Failed && session.State().Command.VerifyFinished) {
    // A verify prints them itself, as its result.
    if (session.State().Command.Operation == core::DeviceOperation::Program) {
      PrintFirstDifferences(session);
      for (const std::string& line : DescribeVerdict(session, run.Verdict)) out.PrintError(line);
    }
    if (session.KeepsFiles())
      out.PrintError(session.In({"レポート: ", "report: "}) + ReportPath(session));
  }
  out.PrintError(fmt::format("{}: {}", session.In(Heading(run.Code)), sentence));
}

/// The files of the engine's own that this command has written into the folder.
void NoteKeptFiles(Session& session, const DeviceRun& run) {
  if (!session.KeepsFiles()) return;
  const core::AppState& state = session.State();
  const auto note = [&](std::string_view name) {
    session.NoteWrittenFile(state.AppFolder + std::string(name));
  };
  // Which file has ended a command is in its error; it is not whole.
  const bool ended_by_file = run.Ending == core::CommandEnding::FileError;
  if (!ended_by_file) note(core::kTraceFileName);
  if (state.FlashDumpRefusal) note(image::kFlashDumpFile);
  if (state.EepromDumpRefusal) note(image::kEepromDumpFile);
  if (!ended_by_file && state.Command.VerifyFinished) note(ops::kVerifyReportFile);
}

/// What one reading does not tell is read a second time, which no success comes from.
ops::Verdict JudgeDifferences(Session& session) {
  const ops::Verdict verdict = ops::Diagnose(session.State());
  if (!verdict.NeedsSecondReading) return verdict;
  session.Out().PrintProgress(session.In(
      {"違う箇所をもう一度読み出しています", "reading the cells that differ once more"}));
  const std::vector<core::Difference> again = ops::ReadDifferencesAgain(session.Context());
  return again.empty() ? verdict : ops::Diagnose(session.State(), again);
}

}  // namespace

DeviceRun RunOnDevice(Session& session, const ops::Entry& command) {
  const auto start = std::chrono::steady_clock::now();
  const core::CommandEnding ending = ops::RunCommand(session.Context(), command);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  const bool done = ending == core::CommandEnding::Finished && session.State().LinkError == 0;
  session.Out().EndProgress(done ? Console::PhaseEnd::Done : Console::PhaseEnd::Failed);
  ExitCode code = CodeOf(session.State(), ending);
  if (code == ExitCode::Success && !RefusedDump(session).English.empty())
    code = ExitCode::FileError;
  DeviceRun run{.Code = code, .Seconds = seconds.count(), .Ending = ending, .Verdict = {}};
  if (code == ExitCode::Failed) run.Verdict = JudgeDifferences(session);
  return run;
}

std::vector<std::string> DescribeVerdict(const Session& session, const ops::Verdict& verdict) {
  if (verdict.Kind == ops::VerdictKind::None) return {};
  std::vector<std::string> lines = ops::DrawMemoryMap(session.State(), session.Language());
  lines.insert(lines.begin(),
               fmt::format(fmt::runtime(session.In({"診断 ({}): {}", "diagnosis ({}): {}"})),
                           ops::WordOf(verdict.Kind), session.In(verdict.Text)));
  return lines;
}

Outcome TellDeviceRun(Session& session, const DeviceRun& run, const nlohmann::json& more) {
  if (run.Code != ExitCode::Success && !session.HasError()) TellFailure(session, run);
  if (!session.Json()) {
    Print(session, run);
    return {.Code = run.Code};
  }
  NoteKeptFiles(session, run);
  nlohmann::json fields = FieldsOf(session, run);
  fields.update(more);
  return {.Code = run.Code, .Json = fields};
}

}  // namespace fenwright::cli
