#include "result.h"

#include <chrono>

#include <fmt/format.h>

#include "ops/outcome.h"
#include "ops/verify_device.h"

namespace fenwright::cli {
namespace {

/// True when a board was found but could not be used, or none was found at all.
bool NoUsableProgrammer(const core::AppState& state) {
  if (state.Command.LinkReady) return false;
  const bool device_refused = state.LinkError == 1 && state.FirmwareVersion > 0;
  return !device_refused;
}

const char* CommandName(core::DeviceOperation operation) {
  switch (operation) {
    case core::DeviceOperation::Read:
      return "read";
    case core::DeviceOperation::Verify:
      return "verify";
    case core::DeviceOperation::Erase:
      return "erase";
    case core::DeviceOperation::ReadFuses:
      return "read-fuses";
    case core::DeviceOperation::WriteFuses:
      return "write-fuses";
    case core::DeviceOperation::None:
    case core::DeviceOperation::Program:
      break;
  }
  return "program";
}

/// The text of what failed, or else of what was shown last.
const std::string& MessageOf(const core::AppState& state, ExitCode code) {
  if (code == ExitCode::Success) return state.StatusText;
  if (state.Command.VerifyFinished) return state.MessageText;
  return state.Command.LastFailure.empty() ? state.StatusText : state.Command.LastFailure;
}

}  // namespace

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
      {"command", CommandName(state.Command.Operation)},
      {"result", Name(code)},
      {"exit_code", static_cast<int>(code)},
      {"device", context.Screen.DeviceForm.DeviceText()},
      {"port", fmt::format("COM{}", context.Line.ProgrammerPort.CommPort())},
      {"device_path", state.LastPortOpen.Path},
      {"board_version", state.FirmwareVersionText},
      {"signature", session.StatusBar().Signature()},
      {"code_file", state.CodeFileName},
      {"data_file", state.DataFileName},
      {"erased", state.Command.Erased},
      {"flash_words_written", state.Command.FlashWordsWritten},
      {"eeprom_bytes_done", state.Command.EepromBytesDone},
      {"chip_state", ops::DescribeChipState(state, core::Language::English)},
      {"message", MessageOf(state, code)},
      {"cause", state.Command.LinkReady ? "" : session.Dialog().Detail()},
      {"seconds", seconds},
      {"flash_write_seconds", state.Command.FlashWriteSeconds},
      {"flash_verify_seconds", state.Command.FlashVerifySeconds},
  };
  if (state.Command.VerifyFinished) {
    result["verify"] = {{"flash", state.FlashNG ? "NG" : "OK"},
                        {"eeprom", state.EepromNG ? "NG" : "OK"},
                        {"report", state.AppFolder + std::string(ops::kVerifyReportFile)}};
  }
  return result;
}

void PrintResult(Session& session, ExitCode code, double seconds) {
  const core::AppState& state = session.Context().State;
  const std::string sentence = ops::DescribeChipState(state, core::Language::English);
  Console& out = session.Out();
  if (code == ExitCode::Success) {
    out.Print(fmt::format("ok: {} ({:.1f} s)", sentence, seconds));
    return;
  }
  if (code == ExitCode::Failed && state.Command.VerifyFinished) {
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

std::string Dump(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

ExitCode EndEarly(Session& session, const Options& options, ExitCode code) {
  if (!options.Json) return code;
  session.Out().PrintAlways(Dump({{"result", Name(code)},
                                  {"exit_code", static_cast<int>(code)},
                                  {"message", session.Out().FirstError()}}));
  return code;
}

CommandRun TimeDeviceCommand(Session& session, const ops::Entry& command) {
  const auto start = std::chrono::steady_clock::now();
  const core::CommandEnding ending = ops::RunCommand(session.Context(), command);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  session.Out().EndProgress();
  return {.Code = CodeOf(session.Context().State, ending), .Seconds = seconds};
}

ExitCode RunDeviceCommand(Session& session, const Options& options, const ops::Entry& command,
                          const std::function<std::string()>& save) {
  auto [code, seconds] = TimeDeviceCommand(session, command);
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

}  // namespace fenwright::cli
