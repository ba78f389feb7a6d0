#include "device_run.h"

#include <algorithm>
#include <chrono>
#include <span>

#include <fmt/format.h>

#include "image/dump_files.h"
#include "ops/link_commands.h"
#include "ops/outcome.h"
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

/// The text of what failed, or else of what was shown last.
const std::string& MessageOf(const core::AppState& state, ExitCode code) {
  if (code == ExitCode::Success) return state.StatusText;
  if (state.Command.VerifyFinished) return state.MessageText;
  return state.Command.LastFailure.empty() ? state.StatusText : state.Command.LastFailure;
}

std::string ChipState(Session& session) {
  return ops::DescribeChipState(session.State(), core::Language::English);
}

std::string ReportPath(Session& session) {
  return session.State().AppFolder + std::string(ops::kVerifyReportFile);
}

nlohmann::json FieldsOf(Session& session, const DeviceRun& run) {
  const core::AppState& state = session.State();
  nlohmann::json fields = session.LinkFields();
  fields.update({{"signature", session.StatusBar().Signature()},
                 {"code_file", state.CodeFileName},
                 {"data_file", state.DataFileName},
                 {"erased", state.Command.Erased},
                 {"flash_words_written", state.Command.FlashWordsWritten},
                 {"eeprom_bytes_done", state.Command.EepromBytesDone},
                 {"chip_state", ChipState(session)},
                 {"message", MessageOf(state, run.Code)},
                 {"seconds", run.Seconds},
                 {"flash_write_seconds", state.Command.FlashWriteSeconds},
                 {"flash_verify_seconds", state.Command.FlashVerifySeconds}});
  if (state.Command.VerifyFinished) {
    fields["verify"] = {{"flash", state.FlashNG ? "NG" : "OK"},
                        {"eeprom", state.EepromNG ? "NG" : "OK"}};
    if (session.KeepsFiles()) fields["verify"]["report"] = ReportPath(session);
  }
  return fields;
}

/// A dump that was to be kept and could not be written, "" when there is none.
std::string RefusedDump(Session& session) {
  const core::AppState& state = session.State();
  if (!session.KeepsFiles()) return "";
  if (!state.FlashDumpRefusal) {
    return fmt::format("{}{}: cannot be written: {}", state.AppFolder, image::kFlashDumpFile,
                       state.FlashDumpRefusal.Reason);
  }
  if (state.EepromDumpRefusal) return "";
  return fmt::format("{}{}: cannot be written: {}", state.AppFolder, image::kEepromDumpFile,
                     state.EepromDumpRefusal.Reason);
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
    session.Out().PrintError(fmt::format("... and {} more", differences.size() - kMost));
  }
}

void Print(Session& session, const DeviceRun& run) {
  const std::string sentence = ChipState(session);
  Console& out = session.Out();
  if (run.Code == ExitCode::Success) {
    out.Print(fmt::format("ok: {} ({:.1f} s)", sentence, run.Seconds));
    return;
  }
  if (run.Code == ExitCode::Failed && session.State().Command.VerifyFinished) {
    // A verify prints them itself, as its result.
    if (session.State().Command.Operation == core::DeviceOperation::Program) {
      PrintFirstDifferences(session);
    }
    if (session.KeepsFiles()) out.PrintError("report: " + ReportPath(session));
  } else if (run.Code == ExitCode::Failed) {
    session.Fail(run.Code, MessageOf(session.State(), run.Code));
  } else if (run.Code == ExitCode::NoProgrammer) {
    session.PrintLinkFailure();
  } else if (const std::string refused = RefusedDump(session); !refused.empty()) {
    session.Fail(run.Code, refused);
  }
  out.PrintError(fmt::format("{}: {}", Name(run.Code), sentence));
}

}  // namespace

DeviceRun RunOnDevice(Session& session, const ops::Entry& command) {
  const auto start = std::chrono::steady_clock::now();
  const core::CommandEnding ending = ops::RunCommand(session.Context(), command);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  session.Out().EndProgress();
  ExitCode code = CodeOf(session.State(), ending);
  if (code == ExitCode::Success && !RefusedDump(session).empty()) code = ExitCode::FileError;
  return {.Code = code, .Seconds = seconds.count()};
}

Outcome TellDeviceRun(Session& session, const DeviceRun& run, const nlohmann::json& more) {
  if (!session.Json()) {
    Print(session, run);
    return {.Code = run.Code};
  }
  nlohmann::json fields = FieldsOf(session, run);
  fields.update(more);
  return {.Code = run.Code, .Json = fields};
}

}  // namespace fenwright::cli
