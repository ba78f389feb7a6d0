#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "cli_platform.h"
#include "console.h"
#include "core/run_context.h"
#include "line_log.h"
#include "options.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/memory/private_text_files.h"
#include "platform/port_info.h"
#include "platform/system/code_page.h"
#include "platform/system/port_names.h"
#include "platform/system/system_clock.h"
#include "platform/system/text_files.h"
#include "platform/system/whole_text_files.h"
#include "problem.h"
#include "stream_files.h"

namespace fenwright::cli {

/// What a verb needs. What it does not name, it does not get: that option of the call is not even
/// looked at.
struct Needs {
  /// The folder of trace, dumps and report. Without it nothing of the engine's own can be written,
  /// so every verb needs it whose calls of the engine leave a line in the trace.
  bool Folder = false;
  /// A device, and the engine started with it, which writes its dumps: needs the folder.
  bool Device = false;
  /// The engine started with a device: the one that the call names, or any. For verbs that look at
  /// the line, or into the socket, and do not work on the chip.
  bool AnyDevice = false;
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

  /// Prints a problem and its cure, and keeps it as what the call failed by unless there is one
  /// already; returns the code.
  ExitCode Fail(ExitCode code, const Problem& problem);
  /// The same without a line on standard error.
  void NoteError(const Problem& problem) {
    if (!error_) error_ = problem;
  }
  /// Prints a problem that does not end the call, and keeps it among the warnings.
  void Warn(const Problem& problem);
  /// The same without a line on standard error.
  void NoteWarning(const Problem& problem);
  /// Fails a call that the user stopped before the device was asked for anything.
  ExitCode FailStopped();
  /// Fails a call that a file of the engine's own ended: what the engine said is on the screen.
  ExitCode FailByFile();
  /// A file that the call has written, for the result.
  void NoteWrittenFile(const std::string& path) { written_files_.push_back(path); }
  /// The code file of a verb that the engine does not open, for the result.
  void NoteCodeFile(const std::string& path) { code_file_ = path; }
  /// The version line of a board that was asked for it by itself.
  void NoteBoardVersion(const std::string& version) { board_version_ = version; }

  /// The options of the call, for a run of the same kind.
  [[nodiscard]] const Options& CallOptions() const { return options_; }

  /// A text in the language of the call.
  [[nodiscard]] const std::string& In(const core::Sentence& sentence) const {
    return sentence.In(options_.Language);
  }

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
  /// Where the programmer is, for people: the path that was opened, or the name of the port where
  /// there is none or it says the same.
  [[nodiscard]] std::string PortPlace() const;
  /// The board in a list of several, or in a record: its port as the call names it, in no
  /// language.
  [[nodiscard]] std::string BoardName() const {
    return options_.Port.empty() ? "simulated" : options_.Port;
  }
  /// The second control on the line of the port, closed.
  [[nodiscard]] platform::SerialControl& UpdaterPort() { return *updater_port_; }

  [[nodiscard]] core::RunContext& Context() { return *context_; }
  [[nodiscard]] core::AppState& State() { return state_; }
  [[nodiscard]] const core::AppState& State() const { return state_; }
  /// The device of the call, "" when it has none.
  [[nodiscard]] std::string Device() const { return has_device_ ? device_.DeviceText() : ""; }
  [[nodiscard]] Console& Out() { return console_; }
  /// The files of the call, with what comes from standard input and goes to standard output.
  [[nodiscard]] StreamFiles& Streams() { return *streams_; }
  /// True when the device is the one that is found in the socket.
  [[nodiscard]] bool AsksSocket() const;
  /// True when trace, dumps and report are kept in a folder.
  [[nodiscard]] bool KeepsFiles() const { return !folder_.empty(); }
  /// True when the result is printed as JSON, and not in words.
  [[nodiscard]] bool Json() const { return options_.Json; }
  [[nodiscard]] core::Language Language() const { return options_.Language; }
  /// What the parts of a longer work that went well have done to the chip, "" = nothing, and in
  /// what state they have left its bits.
  struct ChipWork {
    core::Sentence Done;
    core::Sentence Bits;
  };
  void NoteEarlierWork(const ChipWork& work) { earlier_work_ = work; }
  [[nodiscard]] const ChipWork& EarlierWork() const { return earlier_work_; }
  /// True when Fail() was called.
  [[nodiscard]] bool HasError() const { return error_.has_value(); }
  /// The word of what the call failed by, "" when nothing has.
  [[nodiscard]] std::string ErrorCode() const { return error_ ? std::string(error_->Code) : ""; }
  [[nodiscard]] ChosenFuses& Fuses() { return fuses_; }
  [[nodiscard]] const PrintedStatusBar& StatusBar() const { return status_bar_; }

  /// Warns where the log of the line, if one is wanted, could not be written to its end.
  void CheckLog() { CheckLogOf(*this); }
  /// The same for the log of a session that is a part of this one's work.
  void CheckLogOf(const Session& part);

  /// What every result in JSON has: see docs/json.md.
  [[nodiscard]] nlohmann::json CommonFields() const;
  /// Fails a call for which no board could be used: what was shown last, cause and cure.
  ExitCode FailLink(ExitCode code);

 private:
  ExitCode ChooseFolder();
  ExitCode ChooseDevice(const Needs& needs);
  ExitCode StartEngine(const Needs& needs);
  ExitCode ChooseRealPort();
  ExitCode MakeSimulatedPort();
  void MakeRealPort();
  ExitCode StartLog();
  void MakeContext(bool may_write);
  [[nodiscard]] std::string DevicePath(int com_number) const;
  /// Device, signature, port and board: "AT90S8515  1E:93:01  on /dev/ttyUSB0 (KV-LOD350 V6.38)".
  void PrintHeading();
  [[nodiscard]] bool Japanese() const { return options_.Language == core::Language::Japanese; }
  /// The problem's own cure, or else that of its word.
  [[nodiscard]] const std::string& CureOf(const Problem& problem) const;

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
  ChipWork earlier_work_;
  std::vector<Problem> warnings_;
  std::optional<Problem> error_;
  bool port_named_ = false;
  bool has_device_ = false;
  std::vector<std::string> written_files_;
  std::string board_version_;
  std::string code_file_;
  LineLog log_;
  platform::PortOverrides overrides_;
  std::unique_ptr<platform::SerialControl> port_;
  std::unique_ptr<platform::SerialControl> updater_port_;
  std::unique_ptr<StreamFiles> streams_;
  std::unique_ptr<core::RunContext> context_;
};

}  // namespace fenwright::cli
