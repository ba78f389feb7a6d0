#include "program.h"

#include <chrono>
#include <filesystem>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/verify_device.h"
#include "session.h"

namespace fenwright::cli {
namespace {

/// What is wrong with a file that was read, in English; "" when it may be programmed. The window
/// loads a doubtful file as far as it can and shows it; here nobody looks at what was loaded.
std::string Complaint(const std::string& path, const image::HexReadReport& report) {
  switch (report.End) {
    case image::HexReadEnd::NotOpened:
      return fmt::format("{}: cannot be read: {}", path, report.Reason);
    case image::HexReadEnd::BadLine:
      return fmt::format("{}: line {} does not start with \":\", so this is no Intel HEX file",
                         path, report.StoppedAtLine);
    case image::HexReadEnd::OutsideBuffer:
      return fmt::format("{}: line {} has an address beyond every device's memory", path,
                         report.StoppedAtLine);
    case image::HexReadEnd::NoName:
    case image::HexReadEnd::Complete:
      break;
  }
  if (report.FirstDoubtfulLine == 0) return "";
  return fmt::format(
      "{}: line {} has a character that is no upper-case hexadecimal digit, or is too short", path,
      report.FirstDoubtfulLine);
}

void WarnOf(Console& out, const std::string& path, const image::HexReadReport& report,
            std::int32_t memory_bytes) {
  if (report.FirstBadChecksumLine != 0) {
    out.PrintError(fmt::format("warning: {}: line {} has a wrong checksum", path,
                               report.FirstBadChecksumLine));
  }
  if (report.HighestAddress >= memory_bytes) {
    out.PrintError(
        fmt::format("warning: {}: data up to address 0x{:04X} lies beyond the device's {} bytes "
                    "and is not programmed",
                    path, report.HighestAddress, memory_bytes));
  }
}

/// Loads the files of the call; a file that may not be programmed ends the call.
ExitCode LoadFiles(Session& session, const Options& options) {
  Console& out = session.Out();
  std::error_code ignored;
  const bool data_given = !options.DataFile.empty();
  if (data_given && !std::filesystem::is_regular_file(options.DataFile, ignored)) {
    out.PrintError(fmt::format("error: {}: there is no such data file", options.DataFile));
    return ExitCode::FileError;
  }
  const std::string pair = image::DataFileNameFor(options.CodeFile);
  const std::string named = data_given ? options.DataFile : pair;
  const ops::OpenResult opened =
      ops::OpenBothCommand(session.Context(), options.CodeFile, options.NoData ? "" : named);
  if (opened.Ending != core::CommandEnding::Finished) return ExitCode::FileError;
  std::string complaint;
  if (!opened.Report.CodeFileFound) {
    complaint = fmt::format("{}: there is no such file", options.CodeFile);
  } else if (!opened.Report.KnownExtension) {
    complaint = fmt::format("{}: a code file's name ends in .hex or .rom", options.CodeFile);
  } else {
    complaint = Complaint(options.CodeFile, opened.Report.Code);
    if (complaint.empty()) complaint = Complaint(named, opened.Report.Data);
  }
  if (!complaint.empty()) {
    out.PrintError("error: " + complaint);
    out.PrintError("nothing was sent to the programmer");
    return ExitCode::FileError;
  }
  const core::AppState& state = session.Context().State;
  WarnOf(out, options.CodeFile, opened.Report.Code, 2 * state.FlashWords);
  WarnOf(out, named, opened.Report.Data, state.EepromBytes);
  return ExitCode::Success;
}

/// True when a board was found but could not be used, or none was found at all.
bool NoUsableProgrammer(const core::AppState& state) {
  if (state.Chip.LinkReady) return false;
  const bool device_refused = state.LinkError == 1 && state.FirmwareVersion > 0;
  return !device_refused;
}

ExitCode CodeOf(const core::AppState& state, core::CommandEnding ending) {
  if (ending == core::CommandEnding::Stopped) return ExitCode::Stopped;
  if (ending == core::CommandEnding::FileError) return ExitCode::FileError;
  if (ops::Succeeded(state)) return ExitCode::Success;
  return NoUsableProgrammer(state) ? ExitCode::NoProgrammer : ExitCode::Failed;
}

const char* Name(ExitCode code) {
  switch (code) {
    case ExitCode::Success:
      return "ok";
    case ExitCode::Stopped:
      return "stopped";
    case ExitCode::NoProgrammer:
      return "no programmer";
    case ExitCode::FileError:
      return "file error";
    case ExitCode::Failed:
    case ExitCode::Usage:
      break;
  }
  return "failed";
}

nlohmann::json Result(Session& session, ExitCode code, double seconds) {
  core::RunContext& context = session.Context();
  const core::AppState& state = context.State;
  nlohmann::json result{
      {"command", "program"},
      {"result", Name(code)},
      {"exit_code", static_cast<int>(code)},
      {"device", context.DeviceForm.DeviceText()},
      {"port", fmt::format("COM{}", context.ProgrammerPort.CommPort())},
      {"device_path", state.LastPortOpen.Path},
      {"board_version", state.FirmwareVersionText},
      {"signature", session.StatusBar().Signature()},
      {"code_file", state.CodeFileName},
      {"data_file", state.DataFileName},
      {"erased", state.Chip.Erased},
      {"flash_words_written", state.Chip.FlashWordsWritten},
      {"eeprom_bytes_done", state.Chip.EepromBytesDone},
      {"chip_state", ops::DescribeChipState(state, ops::Language::English)},
      {"message", state.StatusText},
      {"cause", session.Dialog().Detail()},
      {"seconds", seconds},
      {"flash_write_seconds", state.Chip.FlashWriteSeconds},
      {"flash_verify_seconds", state.Chip.FlashVerifySeconds},
  };
  if (state.Chip.VerifyFinished) {
    result["verify"] = {{"flash", state.FlashNG ? "NG" : "OK"},
                        {"eeprom", state.EepromNG ? "NG" : "OK"},
                        {"report", state.AppFolder + std::string(ops::kVerifyReportFile)}};
  }
  return result;
}

void PrintResult(Session& session, ExitCode code, double seconds) {
  const core::AppState& state = session.Context().State;
  const std::string sentence = ops::DescribeChipState(state, ops::Language::English);
  Console& out = session.Out();
  if (code == ExitCode::Success) {
    out.Print(fmt::format("ok: {} ({:.1f} s)", sentence, seconds));
    return;
  }
  if (code == ExitCode::Failed) {
    if (!state.Chip.VerifyFinished) out.PrintError("error: " + state.StatusText);
    if (state.Chip.VerifyFinished) {
      out.PrintError(fmt::format("report: {}{}", state.AppFolder, ops::kVerifyReportFile));
    }
  }
  if (code == ExitCode::NoProgrammer) {
    out.PrintError("error: " + state.StatusText);
    if (!session.Dialog().Detail().empty()) out.PrintError(session.Dialog().Detail());
  }
  out.PrintError(fmt::format("{}: {}", Name(code), sentence));
}

}  // namespace

ExitCode RunProgram(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) return code;
  if (const ExitCode code = LoadFiles(session, options); code != ExitCode::Success) return code;
  const auto start = std::chrono::steady_clock::now();
  const core::CommandEnding ending = ops::ProgramCommand(session.Context());
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  session.Out().EndProgress();
  const ExitCode code = CodeOf(session.Context().State, ending);
  if (options.Json) {
    session.Out().PrintAlways(Result(session, code, seconds).dump(2));
  } else {
    PrintResult(session, code, seconds);
  }
  return code;
}

}  // namespace fenwright::cli
