#include "session.h"

#include <filesystem>
#include <optional>

#include <fmt/format.h>

#include "board/simulated_port_infos.h"
#include "board/simulated_serial_control.h"
#include "core/device_catalogue.h"
#include "core/settings_keys.h"
#include "core/trace_log.h"
#include "device_name.h"
#include "explanations.h"
#include "image/dump_files.h"
#include "ops/command.h"
#include "ops/start_procedure.h"
#include "ops/trouble.h"
#include "ops/verify_device.h"
#include "platform/system/folders.h"
#include "platform/system/system_port_infos.h"
#include "platform/system/system_serial_control.h"
#include "socket.h"
#include "text.h"

namespace fenwright::cli {
namespace {

/// A port option; a bare name that is no COM number is a file of the working directory.
std::optional<platform::PortOption> ParsePort(const std::string& text) {
  if (const auto port = platform::ParsePortOption(text)) return port;
  std::error_code ignored;
  if (!std::filesystem::exists(ToPath(text), ignored)) return std::nullopt;
  return platform::ParsePortOption("./" + text);
}

/// As a device: the one that is in the socket.
constexpr std::string_view kDeviceInSocket = "auto";

/// In the simulated socket while the call names no device.
constexpr std::string_view kChipOfNoDevice = "AT90S8515";

}  // namespace

Session::Session(const Options& options)
    : options_(options),
      console_(options),
      events_(state_),
      private_files_(files_,
                     {std::string(core::kTraceFileName), std::string(image::kFlashDumpFile),
                      std::string(image::kEepromDumpFile), std::string(ops::kVerifyReportFile)}),
      read_only_files_(files_),
      status_bar_(console_),
      dialog_(console_, state_, options.Language),
      boxes_(console_, options.Language) {}

Session::~Session() {
  if (port_) port_->Close();
  if (updater_port_) updater_port_->Close();
}

ExitCode Session::Start(const Needs& needs) {
  const bool uses_port = HasPort() && (needs.Port || needs.NamedPort);
  ExitCode code = needs.Folder ? ChooseFolder() : ExitCode::Success;
  const bool with_engine = needs.Device || needs.AnyDevice;
  if (code == ExitCode::Success && with_engine) code = ChooseDevice(needs);
  if (code == ExitCode::Success && uses_port) {
    code = options_.Simulate ? MakeSimulatedPort() : ChooseRealPort();
  }
  if (code == ExitCode::Success && needs.Port) {
    const ExitCode missing = RequirePort();
    // With a device the message about a port that was never chosen follows, from the link check.
    if (!needs.Device) code = missing;
  }
  if (code != ExitCode::Success) return code;
  if (!port_) MakeRealPort();
  if (uses_port && !options_.Log.empty()) code = StartLog();
  if (code != ExitCode::Success) return code;
  dialog_.OnFirstPhase = [this] { PrintHeading(); };
  MakeContext(needs.Folder);
  if (with_engine) return StartEngine(needs);
  state_.AppFolder = folder_;
  return ExitCode::Success;
}

ExitCode Session::StartEngine(const Needs& needs) {
  const core::CommandEnding ending = ops::RunCommand(*context_, [this](core::RunContext& context) {
    ops::Start(context, {.AppFolder = folder_, .CommandArgument = ""});
  });
  if (ending == core::CommandEnding::Stopped) return FailStopped();
  if (ending != core::CommandEnding::Finished) return FailByFile();
  if (!needs.Device || !AsksSocket()) return ExitCode::Success;
  const ExitCode code = SelectDeviceInSocket(*this);
  has_device_ = code == ExitCode::Success;
  return code;
}

ExitCode Session::Fail(ExitCode code, const Problem& problem) {
  console_.PrintError((Japanese() ? "エラー: " : "error: ") + In(problem.Text));
  const std::string& cure = CureOf(problem);
  if (!cure.empty()) console_.PrintError((Japanese() ? "対処: " : "cure: ") + cure);
  NoteError(problem);
  return code;
}

void Session::Warn(const Problem& problem) {
  console_.PrintError((Japanese() ? "警告: " : "warning: ") + In(problem.Text));
  NoteWarning(problem);
}

void Session::PrintHeading() {
  const std::string& signature = status_bar_.Signature();
  console_.PrintProgress(fmt::format("{}  {}{}{} {} ({})", Device(), signature,
                                     signature.empty() ? "" : "  ", In({"ポート", "on"}),
                                     PortPlace(), state_.FirmwareVersionText));
}

ExitCode Session::FailStopped() {
  NoteError({.Code = problem::kStopped, .Text = FindExplanation(problem::kStopped)->Cause});
  return ExitCode::Stopped;
}

ExitCode Session::FailByFile() {
  NoteError({.Code = problem::kFileUnwritable, .Text = OfEngine(boxes_.LastText())});
  return ExitCode::FileError;
}

void Session::NoteWarning(const Problem& problem) { warnings_.push_back(problem); }

const std::string& Session::CureOf(const Problem& problem) const {
  const std::string& own = In(problem.Cure);
  if (!own.empty()) return own;
  const Explanation* const explanation = FindExplanation(problem.Code);
  return explanation == nullptr ? own : In(explanation->Cure);
}

void Session::MakeContext(bool may_write) {
  using platform::TextFiles;
  TextFiles& kept = options_.Folder.empty() ? static_cast<TextFiles&>(private_files_) : files_;
  TextFiles& files = may_write ? kept : read_only_files_;
  streams_ = std::make_unique<StreamFiles>(files);
  context_ = std::make_unique<core::RunContext>(core::RunContext{
      .State = state_,
      .Line = {.ProgrammerPort = *port_, .Clock = clock_, .Events = events_},
      .Storage = {.Files = *streams_, .CodePage = code_page_, .Settings = settings_},
      .Screen = {.StatusBar = status_bar_,
                 .MessageDialog = dialog_,
                 .MessageBoxes = boxes_,
                 .FileDialogs = file_dialogs_,
                 .Views = views_,
                 .DeviceForm = device_,
                 .HandEdit = hand_edit_,
                 .Guide = guide_,
                 .Fuses = fuses_,
                 .ComForm = com_form_}});
}

nlohmann::json Session::CommonFields() const {
  const auto text_or_null = [](const std::string& text) {
    return text.empty() ? nlohmann::json(nullptr) : nlohmann::json(text);
  };
  const auto file_or_null = [this, &text_or_null](const std::string& name) {
    const std::string path = streams_ ? streams_->OriginOf(name) : name;
    std::error_code ignored;
    const bool exists = !path.empty() && std::filesystem::exists(ToPath(path), ignored);
    return text_or_null(exists ? path : "");
  };
  nlohmann::json warnings = nlohmann::json::array();
  for (const Problem& warning : warnings_) {
    warnings.push_back({{"code", warning.Code}, {"text", In(warning.Text)}});
  }
  nlohmann::json error;
  if (error_) {
    error = {{"code", error_->Code}, {"text", In(error_->Text)}, {"cure", CureOf(*error_)}};
  }
  nlohmann::json differences = nlohmann::json::array();
  for (const core::Difference& difference : state_.Command.Differences) {
    differences.push_back({{"memory", difference.InFlash ? "flash" : "eeprom"},
                           {"address", difference.Address},
                           {"expected", difference.Expected},
                           {"found", difference.Found}});
  }
  const std::string version = board_version_.empty() ? state_.FirmwareVersionText : board_version_;
  return {{"device", text_or_null(Device())},
          {"port", port_named_ ? nlohmann::json(PortName()) : nlohmann::json(nullptr)},
          {"board_version", text_or_null(version)},
          {"signature", text_or_null(status_bar_.Signature())},
          {"warnings", warnings},
          {"error", error},
          {"differences", differences},
          {"files",
           {{"code", file_or_null(code_file_.empty() ? state_.CodeFileName : code_file_)},
            {"data", file_or_null(state_.DataFileName)},
            {"written", written_files_}}}};
}

ExitCode Session::FailLink(ExitCode code) {
  const std::string_view word = ops::TroubleOf(state_);
  // Below the text of the engine the cause stands, for example why the port could not be opened.
  const std::string& detail = dialog_.Detail();
  const std::string& text = state_.StatusText;
  return Fail(code, {.Code = word, .Text = OfEngine(detail.empty() ? text : text + "\n" + detail)});
}

ExitCode Session::RequirePort() {
  if (HasPort()) return ExitCode::Success;
  return Fail(ExitCode::NoProgrammer,
              {.Code = ops::trouble::kNoProgrammer,
               .Text = {"ポートの指定がありません",
                        "no port: give --port (or FENWRIGHT_PORT), or --simulate for the simulated "
                        "board"},
               .Cure = {"--port (または環境変数 FENWRIGHT_PORT) でポートを指定するか、--simulate "
                        "でシミュレーションのボードを使います。",
                        ""}});
}

std::string Session::PortNumber() const {
  return settings_.Read(core::kSettingsSection, core::kPortNumberKey).value_or("");
}

std::string Session::PortName() const {
  const std::string number = PortNumber();
  return number.empty() ? platform::ComName(port_->CommPort()) : "COM" + number;
}

std::string Session::PortPlace() const {
  // Windows opens COM3 as \\.\COM3.
  constexpr std::string_view kDeviceNamespace = R"(\\.\)";
  const std::string& path = state_.LastPortOpen.Path;
  if (options_.Simulate) return In({"シミュレーター", "simulated board"});
  const bool says_the_same = path.empty() || path == std::string(kDeviceNamespace) + PortName();
  return says_the_same ? PortName() : path;
}

std::string Session::DevicePath(int com_number) const {
  return platform::DevicePath(settings_, overrides_, com_number);
}

/// Without a folder the files of the engine's own are kept in memory and go with the run. Nothing
/// in the working folder is touched either: the trace of a window that runs there stays.
ExitCode Session::ChooseFolder() {
  if (options_.Folder.empty()) return ExitCode::Success;
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::absolute(ToPath(options_.Folder), error);
  if (error || !std::filesystem::is_directory(folder, error)) {
    return Fail(ExitCode::FileError,
                {.Code = problem::kFileMissing,
                 .Text = {fmt::format("--folder {}: そのフォルダーはありません", options_.Folder),
                          fmt::format("--folder {}: there is no such folder", options_.Folder)}});
  }
  if (!platform::MayWriteInto(ToUtf8(folder))) {
    return Fail(
        ExitCode::FileError,
        {.Code = problem::kFileUnwritable,
         .Text = {fmt::format("--folder {}: フォルダーに書けません", options_.Folder),
                  fmt::format("--folder {}: the folder cannot be written", options_.Folder)},
         .Cure = {"トレース、ダンプ、レポートの行き先です。別のフォルダーを指定します。",
                  "the trace, the dumps and the report go there, so name another one"}});
  }
  folder_ = ToUtf8(folder / "");
  console_.NoteOutside(folder_);
  return ExitCode::Success;
}

bool Session::AsksSocket() const { return LowerCase(options_.Device) == kDeviceInSocket; }

/// Until the socket was asked, and where any will do, the engine works with the first one.
ExitCode Session::ChooseDevice(const Needs& needs) {
  const bool any = needs.AnyDevice && (options_.Device.empty() || AsksSocket());
  if (any || (AsksSocket() && needs.Port)) {
    settings_.Write(core::kSettingsSection, core::kDeviceKey, "0");
    return ExitCode::Success;
  }
  if (AsksSocket()) {
    const auto text = fmt::format("--device {}: ", options_.Device);
    return Fail(ExitCode::Usage,
                {.Code = problem::kUnknownDevice,
                 .Text = {text + "この動作はソケットを調べません。デバイスの名前を指定します",
                          text + "this verb does not look into the socket; name the device"}});
  }
  if (options_.Device.empty()) {
    return Fail(
        ExitCode::Usage,
        {.Code = problem::kUnknownDevice,
         .Text = {"--device の指定がありません。デバイスは次のとおりです:\n" + ListDeviceNames(),
                  "--device is missing; the devices are:\n" + ListDeviceNames()}});
  }
  core::Sentence error;
  const int index = FindDeviceIndex(options_.Device, error);
  if (index < 0) {
    return Fail(ExitCode::Usage,
                {.Code = problem::kUnknownDevice,
                 .Text = {"--device: " + error.Japanese, "--device: " + error.English}});
  }
  settings_.Write(core::kSettingsSection, core::kDeviceKey, std::to_string(index));
  has_device_ = true;
  return ExitCode::Success;
}

ExitCode Session::ChooseRealPort() {
  const auto port = ParsePort(options_.Port);
  if (!port) {
    if (options_.Port.starts_with("COM")) {
      return Fail(
          ExitCode::Usage,
          {.Code = problem::kUsage,
           .Text = {fmt::format("--port {}: 番号は COM1 から COM256 までです", options_.Port),
                    fmt::format("--port {}: the numbers are COM1 to COM256", options_.Port)}});
    }
    return Fail(ExitCode::NoProgrammer,
                {.Code = ops::trouble::kNoProgrammer,
                 .Text = {fmt::format("--port {}: そのデバイスはありません", options_.Port),
                          fmt::format("--port {}: there is no such device", options_.Port)}});
  }
  if (!port->Path.empty()) overrides_[port->Number] = port->Path;
  settings_.Write(core::kSettingsSection, core::kPortNumberKey, std::to_string(port->Number));
  port_named_ = true;
  return ExitCode::Success;
}

ExitCode Session::FindPorts(std::unique_ptr<platform::PortInfos>& ports) {
  if (options_.Simulate) {
    ports = std::make_unique<board::SimulatedPortInfos>();
    return ExitCode::Success;
  }
  ports = platform::MakeSystemPortInfos([this](int number) { return DevicePath(number); });
  return options_.Port.empty() ? ExitCode::Success : ChooseRealPort();
}

void Session::MakeRealPort() {
  const auto path = [this](int number) { return DevicePath(number); };
  port_ = std::make_unique<platform::SystemSerialControl>(path);
  updater_port_ = std::make_unique<platform::SystemSerialControl>(path);
}

ExitCode Session::StartLog() {
  if (const auto problem = log_.Open(options_.Log)) return Fail(ExitCode::FileError, *problem);
  NoteWrittenFile(options_.Log);
  port_ = std::make_unique<LoggedSerialControl>(std::move(port_), log_);
  updater_port_ = std::make_unique<LoggedSerialControl>(std::move(updater_port_), log_);
  return ExitCode::Success;
}

void Session::CheckLogOf(const Session& part) {
  const std::string& log = part.options_.Log;
  if (log.empty() || part.log_.IsWhole()) return;
  Warn({.Code = problem::kFileUnwritable,
        .Text = {fmt::format("--log {}: 最後まで書けませんでした", log),
                 fmt::format("--log {}: could not be written to its end", log)}});
}

ExitCode Session::MakeSimulatedPort() {
  board::SimulatedBoardOptions board_options;
  if (options_.SimulateAtOnce) board_options.Baud = 0;
  for (const std::string& form : options_.Faults) {
    std::string error;
    const auto fault = board::ParseFault(form, error);
    if (!fault) {
      const std::string text = "--simulate-fault: " + error;
      return Fail(ExitCode::Usage, {.Code = problem::kUsage, .Text = {text, text}});
    }
    board_options.Faults.push_back(*fault);
  }
  if (!options_.SimulateChip.empty() && board::FindChip(options_.SimulateChip) == nullptr) {
    return Fail(ExitCode::Usage,
                {.Code = problem::kUnknownDevice,
                 .Text = {fmt::format("--simulate-chip {}: チップは次のとおりです:\n{}",
                                      options_.SimulateChip, board::ListChipNames()),
                          fmt::format("--simulate-chip {}: the chips are:\n{}",
                                      options_.SimulateChip, board::ListChipNames())}});
  }
  const auto board = std::make_shared<board::SimulatedBoard>(board_options);
  auto port = std::make_unique<board::SimulatedSerialControl>(board, board::SteadyTimeSource());
  updater_port_ = std::make_unique<board::SimulatedSerialControl>(board, board::SteadyTimeSource());
  port->ChipInSocket = [this] {
    if (!options_.SimulateChip.empty()) return options_.SimulateChip;
    return options_.Device.empty() || AsksSocket() ? std::string(kChipOfNoDevice) : Device();
  };
  port_ = std::move(port);
  settings_.Write(core::kSettingsSection, core::kPortNumberKey, "1");
  port_named_ = true;
  return ExitCode::Success;
}

}  // namespace fenwright::cli
