#include "device_commands.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "image/dump_files.h"
#include "image/hex_writer.h"
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
  if (report.DataRecords > 0 && !report.EndRecordSeen) {
    out.PrintError(
        fmt::format("warning: {}: has no end record; the file may have been cut short", path));
  }
  if (report.HighestAddress >= memory_bytes) {
    out.PrintError(
        fmt::format("warning: {}: data up to address 0x{:04X} lies beyond the device's {} bytes "
                    "and is not programmed",
                    path, report.HighestAddress, memory_bytes));
  }
}

const char* WhyNoFile(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored) ? "is no regular file" : "there is no such file";
}

/// Loads the files of the call; a file that may not be programmed ends the call.
ExitCode LoadFiles(Session& session, const Options& options) {
  Console& out = session.Out();
  std::error_code ignored;
  const bool data_given = !options.DataFile.empty();
  if (data_given && !std::filesystem::is_regular_file(options.DataFile, ignored)) {
    out.PrintError(fmt::format("error: {}: {}", options.DataFile, WhyNoFile(options.DataFile)));
    return ExitCode::FileError;
  }
  const std::string pair = image::DataFileNameFor(options.CodeFile);
  const std::string named = data_given ? options.DataFile : pair;
  const ops::OpenResult opened =
      ops::OpenBothCommand(session.Context(), options.CodeFile, options.NoData ? "" : named);
  if (opened.Ending != core::CommandEnding::Finished) return ExitCode::FileError;
  std::string complaint;
  if (!opened.Report.CodeFileFound) {
    complaint = fmt::format("{}: {}", options.CodeFile, WhyNoFile(options.CodeFile));
  } else if (!opened.Report.KnownExtension) {
    complaint = fmt::format("{}: a code file's name ends in .hex or .rom", options.CodeFile);
  } else {
    complaint = Complaint(options.CodeFile, opened.Report.Code);
    if (complaint.empty() && opened.Report.Code.DataRecords == 0) {
      complaint =
          fmt::format("{}: has no data record; to blank a device, erase it", options.CodeFile);
    }
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

const char* CommandName(core::DeviceOperation operation) {
  switch (operation) {
    case core::DeviceOperation::Read:
      return "read";
    case core::DeviceOperation::Verify:
      return "verify";
    case core::DeviceOperation::Erase:
      return "erase";
    case core::DeviceOperation::Program:
      break;
  }
  return "program";
}

/// The text of what failed, or else of what was shown last.
const std::string& MessageOf(const core::AppState& state, ExitCode code) {
  if (code == ExitCode::Success) return state.StatusText;
  if (state.Chip.VerifyFinished) return state.MessageText;
  return state.LastFailure.empty() ? state.StatusText : state.LastFailure;
}

nlohmann::json Result(Session& session, ExitCode code, double seconds) {
  core::RunContext& context = session.Context();
  const core::AppState& state = context.State;
  nlohmann::json result{
      {"command", CommandName(state.Chip.Operation)},
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
      {"message", MessageOf(state, code)},
      {"cause", state.Chip.LinkReady ? "" : session.Dialog().Detail()},
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
  if (code == ExitCode::Failed && state.Chip.VerifyFinished) {
    out.PrintError(fmt::format("report: {}{}", state.AppFolder, ops::kVerifyReportFile));
  } else if (code == ExitCode::Failed) {
    out.PrintError("error: " + MessageOf(state, code));
  }
  if (code == ExitCode::NoProgrammer) {
    out.PrintError("error: " + state.StatusText);
    if (!session.Dialog().Detail().empty()) out.PrintError(session.Dialog().Detail());
  }
  out.PrintError(fmt::format("{}: {}", Name(code), sentence));
}

/// JSON text; bytes of a file name that are no UTF-8 are replaced.
std::string Dump(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// Ends a call before anything was sent. With --json the cause, printed already, is the result.
ExitCode EndEarly(Session& session, const Options& options, ExitCode code) {
  if (!options.Json) return code;
  session.Out().PrintAlways(Dump({{"result", Name(code)},
                                  {"exit_code", static_cast<int>(code)},
                                  {"message", session.Out().FirstError()}}));
  return code;
}

/// Runs a device command and tells its result. `save` stores what a successful one has brought; it
/// returns what went wrong, "" = nothing.
ExitCode RunDeviceCommand(Session& session, const Options& options,
                          core::CommandEnding (*command)(core::RunContext&),
                          const std::function<std::string()>& save = {}) {
  const auto start = std::chrono::steady_clock::now();
  const core::CommandEnding ending = command(session.Context());
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  session.Out().EndProgress();
  ExitCode code = CodeOf(session.Context().State, ending);
  const std::string complaint = code == ExitCode::Success && save ? save() : "";
  if (!complaint.empty()) {
    code = ExitCode::FileError;
    session.Out().PrintError("error: " + complaint);
  }
  if (!options.Json) {
    PrintResult(session, code, seconds);
    return code;
  }
  nlohmann::json result = Result(session, code, seconds);
  if (!complaint.empty()) result["message"] = complaint;
  return session.Out().PrintAlways(Dump(result)) ? code : ExitCode::FileError;
}

/// A file that a read is to save to must be writable, and new unless overwriting is allowed.
bool MayWrite(Console& out, const std::string& path, bool force) {
  std::error_code ignored;
  const std::filesystem::path folder = std::filesystem::absolute(path, ignored).parent_path();
  std::string complaint;
  if (std::filesystem::is_directory(path, ignored)) {
    complaint = "is a folder";
  } else if (!std::filesystem::is_directory(folder, ignored)) {
    complaint = "its folder does not exist";
  } else if (std::filesystem::exists(path, ignored)) {
    if (!force) complaint = "exists; --force overwrites it";
  }
  if (complaint.empty()) return true;
  out.PrintError(fmt::format("error: {}: {}", path, complaint));
  return false;
}

/// True when both outputs of a read would go to one file, however it is named.
bool IsOneFile(const Options& options) {
  if (options.CodeOutput.empty() || options.DataOutput.empty()) return false;
  const auto real_path = [](const std::string& path) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(path, ignored), ignored);
  };
  return real_path(options.CodeOutput) == real_path(options.DataOutput);
}

/// What went wrong with a file that was to be written; "" when it was.
std::string Complaint(const std::string& path, const image::HexWriteReport& report) {
  if (report) return "";
  if (report.End == image::HexWriteEnd::CutShort) {
    return fmt::format("{}: is cut short; the disc may be full", path);
  }
  return fmt::format("{}: cannot be written: {}", path, report.Reason);
}

/// Saves what was read, as much of it as can be; the first thing that went wrong, "" = nothing.
std::string SaveBuffers(Session& session, const Options& options) {
  core::AppState& state = session.Context().State;
  std::string complaint;
  if (!options.CodeOutput.empty()) {
    state.CodeSaveFileName = options.CodeOutput;
    complaint = Complaint(options.CodeOutput, image::WriteCodeHexFile(session.Context()));
  }
  if (!options.DataOutput.empty()) {
    state.DataSaveFileName = options.DataOutput;
    const std::string second =
        Complaint(options.DataOutput, image::WriteDataHexFile(session.Context()));
    if (complaint.empty()) complaint = second;
  }
  return complaint;
}

/// The report's lines about differences, as they stand in the file.
void PrintDifferences(Session& session) {
  core::RunContext& context = session.Context();
  std::string report;
  context.Files.Read(context.State.AppFolder + std::string(ops::kVerifyReportFile), report);
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    const bool difference = line.starts_with("PROGRAM") || line.starts_with("EEPROM  ");
    if (difference) session.Out().PrintAlways(line);
  }
}

}  // namespace

ExitCode RunProgram(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  if (const ExitCode code = LoadFiles(session, options); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  return RunDeviceCommand(session, options, ops::ProgramCommand);
}

ExitCode RunRead(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  if (IsOneFile(options)) {
    session.Out().PrintError("error: --code and --data name the same file");
    return EndEarly(session, options, ExitCode::Usage);
  }
  for (const std::string& path : {options.CodeOutput, options.DataOutput}) {
    if (!path.empty() && !MayWrite(session.Out(), path, options.Force)) {
      return EndEarly(session, options, ExitCode::FileError);
    }
  }
  return RunDeviceCommand(session, options, ops::ReadCommand,
                          [&] { return SaveBuffers(session, options); });
}

ExitCode RunVerify(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  if (const ExitCode code = LoadFiles(session, options); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  const ExitCode code = RunDeviceCommand(session, options, ops::VerifyCommand);
  if (session.Context().State.Chip.VerifyFinished && !options.Json) PrintDifferences(session);
  return code;
}

ExitCode RunErase(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  return RunDeviceCommand(session, options, ops::EraseCommand);
}

ExitCode RunDump(const Options& options) {
  Options silent = options;
  silent.Quiet = true;
  Session session(silent);
  if (const ExitCode code = session.Start(Session::Needs::NoPort); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  if (const ExitCode code = LoadFiles(session, options); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  const core::RunContext& context = session.Context();
  std::string dump = context.CodePage.ToUtf8(image::FlashDump(context.State));
  if (options.Json) {
    dump = Dump({{"command", "dump"},
                 {"result", Name(ExitCode::Success)},
                 {"exit_code", static_cast<int>(ExitCode::Success)},
                 {"device", context.DeviceForm.DeviceText()},
                 {"code_file", context.State.CodeFileName},
                 {"dump", dump}});
  }
  return session.Out().PrintAlways(dump) ? ExitCode::Success : ExitCode::FileError;
}

}  // namespace fenwright::cli
