#pragma once

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "cli_platform.h"
#include "console.h"
#include "core/run_context.h"
#include "options.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/memory/private_text_files.h"
#include "platform/port_info.h"
#include "platform/system/code_page.h"
#include "platform/system/port_names.h"
#include "platform/system/system_clock.h"
#include "platform/system/text_files.h"
#include "platform/system/whole_text_files.h"

namespace fenwright::cli {

/// What a verb needs. What it does not name, it does not get: that option of the call is not even
/// looked at.
struct Needs {
  /// The folder of trace, dumps and report. Without it nothing of the engine's own can be written,
  /// so every verb needs it whose calls of the engine leave a line in the trace.
  bool Folder = false;
  /// A device, and the engine started with it, which writes its dumps: needs the folder.
  bool Device = false;
  /// A port must be named.
  bool Port = false;
  /// The port is used where one is named.
  bool NamedPort = false;
};

/// What a verb needs that works on the chip, or looks for the board on its behalf.
inline constexpr Needs kDeviceOnPort{.Folder = true, .Device = true, .Port = true};

/// The run of one call: the engine's state on the system's adapters.
class Session {
 public:
  explicit Session(const Options& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Prepares the run with what is needed. On failure the cause is printed.
  ExitCode Start(const Needs& needs);

  /// Prints "error: " and the text; returns the code.
  ExitCode Fail(ExitCode code, std::string_view text);

  /// The ports of this system as the options of the call name them; Start() is not needed.
  ExitCode FindPorts(std::unique_ptr<platform::PortInfos>& ports);

  /// Success when HasPort(); otherwise the failure is printed.
  ExitCode RequirePort();
  /// True when the call names a port, or the simulated board.
  [[nodiscard]] bool HasPort() const { return options_.Simulate || !options_.Port.empty(); }
  /// n of COMn as text, "" when there is no port.
  [[nodiscard]] std::string PortNumber() const;
  /// "COMn" of the programmer's port.
  [[nodiscard]] std::string PortName() const;
  /// The second control on the line of the port, closed.
  [[nodiscard]] platform::SerialControl& UpdaterPort() { return *updater_port_; }

  [[nodiscard]] core::RunContext& Context() { return *context_; }
  [[nodiscard]] core::AppState& State() { return state_; }
  [[nodiscard]] std::string Device() const { return device_.DeviceText(); }
  [[nodiscard]] Console& Out() { return console_; }
  /// True when trace, dumps and report are kept in a folder.
  [[nodiscard]] bool KeepsFiles() const { return !folder_.empty(); }
  /// True when the result is printed as JSON, and not in words.
  [[nodiscard]] bool Json() const { return options_.Json; }
  [[nodiscard]] ChosenFuses& Fuses() { return fuses_; }
  [[nodiscard]] const PrintedStatusBar& StatusBar() const { return status_bar_; }

  /// Device, port and board as --json tells them, and why the board could not be used.
  [[nodiscard]] nlohmann::json LinkFields() const;
  /// The same failure in words: what was shown last, cause and cure.
  void PrintLinkFailure();

 private:
  ExitCode ChooseFolder();
  ExitCode ChooseDevice();
  ExitCode ChooseRealPort();
  ExitCode MakeSimulatedPort();
  void MakeRealPort();
  void MakeContext(bool may_write);
  [[nodiscard]] std::string DevicePath(int com_number) const;

  const Options& options_;
  core::AppState state_;
  Console console_;
  platform::SystemClock clock_;
  SignalEventLoop events_;
  platform::SystemTextFiles system_files_;
  platform::WholeTextFiles files_{system_files_};
  platform::PrivateTextFiles private_files_;
  ReadOnlyFiles read_only_files_;
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
