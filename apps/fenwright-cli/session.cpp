#include "session.h"

#include <filesystem>
#include <optional>

#include <fmt/format.h>

#include "board/simulated_port_infos.h"
#include "board/simulated_serial_control.h"
#include "core/device_catalogue.h"
#include "core/settings_keys.h"
#include "device_name.h"
#include "ops/command.h"
#include "ops/start_procedure.h"
#include "paths.h"
#include "platform/system/folders.h"
#include "platform/system/system_port_infos.h"
#include "platform/system/system_serial_control.h"

namespace fenwright::cli {
namespace {

Console::Amount AmountOf(const Options& options) {
  const bool errors_only = options.Quiet || options.Json;
  return errors_only ? Console::Amount::ErrorsOnly : Console::Amount::Everything;
}

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
      console_(AmountOf(options)),
      events_(state_),
      status_bar_(console_),
      dialog_(console_),
      boxes_(console_) {}

Session::~Session() {
  if (port_) port_->Close();
  if (updater_port_) updater_port_->Close();
}

ExitCode Session::Start(Needs needs) {
  if (needs == Needs::PortAlone || needs == Needs::Nothing) return StartWithoutDevice(needs);
  const auto port_step = needs == Needs::Port ? &Session::ChoosePort : &Session::MakeRealPort;
  for (const auto step : {&Session::ChooseFolder, &Session::ChooseDevice, port_step}) {
    if (const ExitCode code = (this->*step)(); code != ExitCode::Success) return code;
  }
  MakeContext();
  const core::CommandEnding ending = ops::RunCommand(*context_, [this](core::RunContext& context) {
    ops::Start(context, {.AppFolder = folder_, .CommandArgument = ""});
  });
  return ending == core::CommandEnding::Finished ? ExitCode::Success : ExitCode::FileError;
}

ExitCode Session::StartWithoutDevice(Needs needs) {
  if (needs == Needs::PortAlone || HasPort()) {
    if (const ExitCode code = ChoosePort(); code != ExitCode::Success) return code;
    if (!HasPort()) return ExitCode::NoProgrammer;
  } else if (const ExitCode code = MakeRealPort(); code != ExitCode::Success) {
    return code;
  }
  MakeContext();
  return ExitCode::Success;
}

void Session::MakeContext() {
  context_ = std::make_unique<core::RunContext>(
      core::RunContext{.State = state_,
                       .Line = {.ProgrammerPort = *port_, .Clock = clock_, .Events = events_},
                       .Storage = {.Files = files_, .CodePage = code_page_, .Settings = settings_},
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

std::string Session::PortNumber() const {
  return settings_.Read(core::kSettingsSection, core::kPortNumberKey).value_or("");
}

ExitCode Session::ChooseFolder() {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::absolute(ToPath(options_.Folder), error);
  if (error || !std::filesystem::is_directory(folder, error)) {
    console_.PrintError(
        fmt::format("error: --folder {}: there is no such folder", options_.Folder));
    return ExitCode::FileError;
  }
  if (!platform::MayWriteInto(ToUtf8(folder))) {
    console_.PrintError(
        fmt::format("error: --folder {}: the folder cannot be written; the trace, the dumps and "
                    "the report go there, so name another one",
                    options_.Folder));
    return ExitCode::FileError;
  }
  folder_ = ToUtf8(folder / "");
  return ExitCode::Success;
}

ExitCode Session::ChooseDevice() {
  if (options_.Device.empty()) {
    console_.PrintError("error: --device is missing; the devices are:\n" + ListDeviceNames());
    return ExitCode::Usage;
  }
  std::string error;
  const int index = FindDeviceIndex(options_.Device, error);
  if (index < 0) {
    console_.PrintError("error: --device: " + error);
    return ExitCode::Usage;
  }
  settings_.Write(core::kSettingsSection, core::kDeviceKey, std::to_string(index));
  return ExitCode::Success;
}

ExitCode Session::ChoosePort() {
  if (options_.Simulate) return MakeSimulatedPort();
  if (options_.Port.empty()) {
    // The message about a port that was never chosen follows when the link is checked.
    console_.PrintError(
        "error: no port: give --port (or FENWRIGHT_PORT), or --simulate for the simulated board");
  } else if (const ExitCode code = ChooseRealPort(); code != ExitCode::Success) {
    return code;
  }
  return MakeRealPort();
}

ExitCode Session::ChooseRealPort() {
  const auto port = ParsePort(options_.Port);
  if (!port) {
    const bool number = options_.Port.starts_with("COM");
    console_.PrintError(
        fmt::format("error: --port {}: {}", options_.Port,
                    number ? "the numbers are COM1 to COM20" : "there is no such device"));
    return number ? ExitCode::Usage : ExitCode::NoProgrammer;
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
  if (!options_.Port.empty()) {
    if (const ExitCode code = ChooseRealPort(); code != ExitCode::Success) return code;
  }
  ports = platform::MakeSystemPortInfos(
      [this](int number) { return platform::DevicePath(settings_, overrides_, number); });
  return ExitCode::Success;
}

ExitCode Session::MakeRealPort() {
  const auto path = [this](int number) {
    return platform::DevicePath(settings_, overrides_, number);
  };
  port_ = std::make_unique<platform::SystemSerialControl>(path);
  updater_port_ = std::make_unique<platform::SystemSerialControl>(path);
  return ExitCode::Success;
}

ExitCode Session::MakeSimulatedPort() {
  board::SimulatedBoardOptions board_options;
  for (const std::string& form : options_.Faults) {
    std::string error;
    const auto fault = board::ParseFault(form, error);
    if (!fault) {
      console_.PrintError("error: --simulate-fault: " + error);
      return ExitCode::Usage;
    }
    board_options.Faults.push_back(*fault);
  }
  if (!options_.SimulateChip.empty() && board::FindChip(options_.SimulateChip) == nullptr) {
    console_.PrintError(fmt::format("error: --simulate-chip {}: the chips are:\n{}",
                                    options_.SimulateChip, board::ListChipNames()));
    return ExitCode::Usage;
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
