#include "device_commands.h"

#include <filesystem>
#include <sstream>

#include <fmt/format.h>

#include "image/dump_files.h"
#include "image/hex_writer.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/verify_device.h"
#include "paths.h"
#include "result.h"
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
  return std::filesystem::exists(ToPath(path), ignored) ? "is no regular file"
                                                        : "there is no such file";
}

/// Loads the files of the call; a file that may not be programmed ends the call.
ExitCode LoadFiles(Session& session, const Options& options) {
  Console& out = session.Out();
  std::error_code ignored;
  const bool data_given = !options.DataFile.empty();
  if (data_given && !std::filesystem::is_regular_file(ToPath(options.DataFile), ignored)) {
    out.PrintError(fmt::format("error: {}: {}", options.DataFile, WhyNoFile(options.DataFile)));
    return ExitCode::FileError;
  }
  const std::string pair = image::DataFileNameFor(options.CodeFile);
  const std::string named = data_given ? options.DataFile : pair;
  image::OpenReport opened;
  const core::CommandEnding ending =
      ops::RunCommand(session.Context(), [&](core::RunContext& context) {
        opened = ops::OpenFiles(context, options.CodeFile, options.NoData ? "" : named);
      });
  if (ending != core::CommandEnding::Finished) return ExitCode::FileError;
  std::string complaint;
  if (!opened.CodeFileFound) {
    complaint = fmt::format("{}: {}", options.CodeFile, WhyNoFile(options.CodeFile));
  } else if (!opened.KnownExtension) {
    complaint = fmt::format("{}: a code file's name ends in .hex or .rom", options.CodeFile);
  } else {
    complaint = Complaint(options.CodeFile, opened.Code);
    if (complaint.empty() && opened.Code.DataRecords == 0) {
      complaint =
          fmt::format("{}: has no data record; to blank a device, erase it", options.CodeFile);
    }
    if (complaint.empty()) complaint = Complaint(named, opened.Data);
  }
  if (!complaint.empty()) {
    out.PrintError("error: " + complaint);
    out.PrintError("nothing was sent to the programmer");
    return ExitCode::FileError;
  }
  const core::AppState& state = session.Context().State;
  WarnOf(out, options.CodeFile, opened.Code, 2 * state.FlashWords);
  WarnOf(out, named, opened.Data, state.EepromBytes);
  return ExitCode::Success;
}

/// A file that a read is to save to must be writable, and new unless overwriting is allowed.
bool MayWrite(Console& out, const std::string& path, bool force) {
  std::error_code ignored;
  const std::filesystem::path folder =
      std::filesystem::absolute(ToPath(path), ignored).parent_path();
  std::string complaint;
  if (std::filesystem::is_directory(ToPath(path), ignored)) {
    complaint = "is a folder";
  } else if (!std::filesystem::is_directory(folder, ignored)) {
    complaint = "its folder does not exist";
  } else if (std::filesystem::exists(ToPath(path), ignored)) {
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
    return std::filesystem::weakly_canonical(std::filesystem::absolute(ToPath(path), ignored),
                                             ignored);
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
  context.Storage.Files.Read(context.State.AppFolder + std::string(ops::kVerifyReportFile), report);
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
  return RunDeviceCommand(session, options, ops::Cmd_btn_program_Click);
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
  return RunDeviceCommand(session, options, ops::Cmd_btn_read_Click,
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
  const ExitCode code = RunDeviceCommand(session, options, ops::Cmd_btn_verify_Click);
  if (session.Context().State.Command.VerifyFinished && !options.Json) PrintDifferences(session);
  return code;
}

ExitCode RunErase(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  return RunDeviceCommand(session, options, ops::Cmd_btn_erase_Click);
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
  std::string dump = context.Storage.CodePage.ToUtf8(image::FlashDump(context.State));
  if (options.Json) {
    dump = Dump({{"command", "dump"},
                 {"result", Name(ExitCode::Success)},
                 {"exit_code", static_cast<int>(ExitCode::Success)},
                 {"device", context.Screen.DeviceForm.DeviceText()},
                 {"code_file", context.State.CodeFileName},
                 {"dump", dump}});
  }
  return session.Out().PrintAlways(dump) ? ExitCode::Success : ExitCode::FileError;
}

}  // namespace fenwright::cli
