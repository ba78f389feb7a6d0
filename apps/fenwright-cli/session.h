#pragma once

#include <memory>
#include <string>

#include "chosen_fuses.h"
#include "cli_platform.h"
#include "console.h"
#include "core/run_context.h"
#include "options.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/port_info.h"
#include "platform/system/code_page.h"
#include "platform/system/port_names.h"
#include "platform/system/system_clock.h"
#include "platform/system/text_files.h"

namespace fenwright::cli {

/// The run of one call: the engine's state on the system's adapters.
class Session {
 public:
  explicit Session(const Options& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  enum class Needs {
    Port,       ///< a device and a port
    NoPort,     ///< a device
    PortAlone,  ///< a port; no device is chosen and no file of the run's own is written
    Nothing     ///< as PortAlone, without a port if none is given
  };

  /// Checks device, port and folder and prepares the run. On failure the cause is printed.
  ExitCode Start(Needs needs = Needs::Port);

  [[nodiscard]] core::RunContext& Context() { return *context_; }
  /// The ports of this system as the options of the call name them; Start() is not needed.
  ExitCode FindPorts(std::unique_ptr<platform::PortInfos>& ports);

  /// The second control on the line of the port, closed.
  [[nodiscard]] platform::SerialControl& UpdaterPort() { return *updater_port_; }
  /// True when the call names a port, or the simulated board.
  [[nodiscard]] bool HasPort() const { return options_.Simulate || !options_.Port.empty(); }
  /// n of COMn as text, "" when there is no port.
  [[nodiscard]] std::string PortNumber() const;
  [[nodiscard]] Console& Out() { return console_; }
  [[nodiscard]] ChosenFuses& Fuses() { return fuses_; }
  [[nodiscard]] const PrintedStatusBar& StatusBar() const { return status_bar_; }
  [[nodiscard]] const PrintedMessageDialog& Dialog() const { return dialog_; }

 private:
  ExitCode StartWithoutDevice(Needs needs);
  void MakeContext();
  ExitCode ChooseDevice();
  ExitCode ChoosePort();
  ExitCode ChooseRealPort();
  ExitCode ChooseFolder();
  ExitCode MakeSimulatedPort();
  ExitCode MakeRealPort();

  const Options& options_;
  core::AppState state_;
  Console console_;
  platform::SystemClock clock_;
  SignalEventLoop events_;
  platform::SystemTextFiles files_;
  platform::Cp932CodePage code_page_;
  platform::MemorySettingsStore settings_;
  PrintedStatusBar status_bar_;
  PrintedMessageDialog dialog_;
  PrintedMessageBoxes boxes_;
  NoFileDialogs file_dialogs_;
  NoViews views_;
  ChosenDevice device_;
  NoHandEdit hand_edit_;
  NoGuide guide_;
  NoComForm com_form_;
  ChosenFuses fuses_;
  std::string folder_;
  platform::PortOverrides overrides_;
  std::unique_ptr<platform::SerialControl> port_;
  std::unique_ptr<platform::SerialControl> updater_port_;
  std::unique_ptr<core::RunContext> context_;
};

}  // namespace fenwright::cli
