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
#include "image/dump_files.h"
#include "ops/command.h"
#include "ops/start_procedure.h"
#include "ops/verify_device.h"
#include "platform/system/folders.h"
#include "platform/system/system_port_infos.h"
#include "platform/system/system_serial_control.h"
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
      dialog_(console_),
      boxes_(console_) {}

Session::~Session() {
  if (port_) port_->Close();
  if (updater_port_) updater_port_->Close();
}

ExitCode Session::Start(const Needs& needs) {
  const bool uses_port = HasPort() && (needs.Port || needs.NamedPort);
  ExitCode code = needs.Folder ? ChooseFolder() : ExitCode::Success;
  if (code == ExitCode::Success && needs.Device) code = ChooseDevice();
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
  MakeContext(needs.Folder);
  if (!needs.Device) {
    state_.AppFolder = folder_;
    return ExitCode::Success;
  }
  const core::CommandEnding ending = ops::RunCommand(*context_, [this](core::RunContext& context) {
    ops::Start(context, {.AppFolder = folder_, .CommandArgument = ""});
  });
  return ending == core::CommandEnding::Finished ? ExitCode::Success : ExitCode::FileError;
}

ExitCode Session::Fail(ExitCode code, std::string_view text) {
  console_.PrintError(fmt::format("error: {}", text));
  return code;
}

void Session::MakeContext(bool may_write) {
  using platform::TextFiles;
  TextFiles& kept = options_.Folder.empty() ? static_cast<TextFiles&>(private_files_) : files_;
  TextFiles& files = may_write ? kept : read_only_files_;
  context_ = std::make_unique<core::RunContext>(
      core::RunContext{.State = state_,
                       .Line = {.ProgrammerPort = *port_, .Clock = clock_, .Events = events_},
                       .Storage = {.Files = files, .CodePage = code_page_, .Settings = settings_},
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

nlohmann::json Session::LinkFields() const {
  return {{"device", Device()},
          {"port", PortName()},
          {"device_path", state_.LastPortOpen.Path},
          {"board_version", state_.FirmwareVersionText},
          {"cause", state_.Command.LinkReady ? "" : dialog_.Detail()}};
}

void Session::PrintLinkFailure() {
  Fail(ExitCode::NoProgrammer, state_.StatusText);
  if (!dialog_.Detail().empty()) console_.PrintError(dialog_.Detail());
}

ExitCode Session::RequirePort() {
  if (HasPort()) return ExitCode::Success;
  return Fail(ExitCode::NoProgrammer,
              "no port: give --port (or FENWRIGHT_PORT), or --simulate for the simulated board");
}

std::string Session::PortNumber() const {
  return settings_.Read(core::kSettingsSection, core::kPortNumberKey).value_or("");
}

std::string Session::PortName() const { return platform::ComName(port_->CommPort()); }

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
                fmt::format("--folder {}: there is no such folder", options_.Folder));
  }
  if (!platform::MayWriteInto(ToUtf8(folder))) {
    return Fail(ExitCode::FileError,
                fmt::format("--folder {}: the folder cannot be written; the trace, the dumps and "
                            "the report go there, so name another one",
                            options_.Folder));
  }
  folder_ = ToUtf8(folder / "");
  console_.NoteOutside(folder_);
  return ExitCode::Success;
}

ExitCode Session::ChooseDevice() {
  if (options_.Device.empty()) {
    return Fail(ExitCode::Usage, "--device is missing; the devices are:\n" + ListDeviceNames());
  }
  std::string error;
  const int index = FindDeviceIndex(options_.Device, error);
  if (index < 0) return Fail(ExitCode::Usage, "--device: " + error);
  settings_.Write(core::kSettingsSection, core::kDeviceKey, std::to_string(index));
  return ExitCode::Success;
}

ExitCode Session::ChooseRealPort() {
  const auto port = ParsePort(options_.Port);
  if (!port) {
    const bool number = options_.Port.starts_with("COM");
    return Fail(number ? ExitCode::Usage : ExitCode::NoProgrammer,
                fmt::format("--port {}: {}", options_.Port,
                            number ? "the numbers are COM1 to COM256" : "there is no such device"));
  }
  if (!port->Path.empty()) overrides_[port->Number] = port->Path;
  settings_.Write(core::kSettingsSection, core::kPortNumberKey, std::to_string(port->Number));
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

ExitCode Session::MakeSimulatedPort() {
  board::SimulatedBoardOptions board_options;
  for (const std::string& form : options_.Faults) {
    std::string error;
    const auto fault = board::ParseFault(form, error);
    if (!fault) return Fail(ExitCode::Usage, "--simulate-fault: " + error);
    board_options.Faults.push_back(*fault);
  }
  if (!options_.SimulateChip.empty() && board::FindChip(options_.SimulateChip) == nullptr) {
    return Fail(ExitCode::Usage, fmt::format("--simulate-chip {}: the chips are:\n{}",
                                             options_.SimulateChip, board::ListChipNames()));
  }
  const auto board = std::make_shared<board::SimulatedBoard>(board_options);
  auto port = std::make_unique<board::SimulatedSerialControl>(board, board::SteadyTimeSource());
  updater_port_ = std::make_unique<board::SimulatedSerialControl>(board, board::SteadyTimeSource());
  port->ChipInSocket = [this] {
    return options_.SimulateChip.empty() ? device_.DeviceText() : options_.SimulateChip;
  };
  port_ = std::move(port);
  settings_.Write(core::kSettingsSection, core::kPortNumberKey, "1");
  return ExitCode::Success;
}

}  // namespace fenwright::cli
