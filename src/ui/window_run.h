#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QTimer>

#include "core/run_context.h"
#include "ops/job_commands.h"
#include "ops/start_procedure.h"
#include "platform/memory/run_settings_store.h"
#include "platform/memory/switched_serial_control.h"
#include "platform/port_info.h"
#include "platform/single_instance.h"
#include "screen/main_form.h"
#include "ui/com_dialog.h"
#include "ui/job_dialog.h"
#include "ui/main_window.h"
#include "ui/qt_event_loop.h"
#include "ui/qt_file_dialogs.h"
#include "ui/qt_message_boxes.h"
#include "ui/qt_message_dialog.h"
#include "ui/qt_shell.h"
#include "ui/taskbar.h"

namespace fenwright::ui {

/// The lines of a simulated board, in place of the system's.
struct SimulatedLines {
  std::unique_ptr<platform::SerialControl> ProgrammerPort;
  std::unique_ptr<platform::SerialControl> UpdaterPort;
  std::unique_ptr<platform::PortInfos> Ports;
};

/// What a run of the window gets from outside.
struct WindowPlatform {
  platform::SerialControl& ProgrammerPort;
  platform::Clock& Clock;
  platform::TextFiles& Files;
  platform::CodePage& CodePage;
  platform::SettingsStore& Settings;
  /// Keeps the old content of files that are saved over; null = nothing is kept.
  platform::FileArchive* Archive = nullptr;
  /// Null = nothing is known about the ports.
  platform::PortInfos* Ports = nullptr;
  /// Null = other runs of the program do not matter.
  platform::SingleInstance* Instance = nullptr;
  /// In place of the window's own; null = the window's own.
  screen::MessageBoxes* MessageBoxes = nullptr;
  screen::FileDialogs* FileDialogs = nullptr;
  /// The firmware update dialog's own serial control; null = no firmware can be updated.
  platform::SerialControl* UpdaterPort = nullptr;
  /// Makes the simulated board that the COM port dialog may offer; empty = it is not offered.
  std::function<SimulatedLines(core::RunContext& context)> MakeSimulation{};
  platform::Shell* Shell = nullptr;
  /// Makes the taskbar's part of the window; empty = the desktop shows nothing.
  std::function<std::unique_ptr<Taskbar>(QWidget& window)> MakeTaskbar{};
  /// Folders in which the manual may lie, each with its separator; the program's own comes first.
  std::vector<std::string> ManualFolders = {""};
};

/// One run of the program with a window: the state, the window, the adapters to the system and the
/// context that ties them together, with the window's controls connected to the commands. To the
/// start and stop procedures it is the program's windows. Twips become logical pixels, so a place
/// means the same at every scale of the screen.
class WindowRun final : private screen::MainForm {
 public:
  explicit WindowRun(const WindowPlatform& outside);
  WindowRun(const WindowRun&) = delete;
  WindowRun& operator=(const WindowRun&) = delete;

  /// Runs the start procedure, which shows the window, and opens the file that the program was
  /// started with.
  core::CommandEnding Start(const ops::StartOptions& options);

  /// For a process that is about to be gone, in the middle of whatever runs: without another event
  /// of the window system it does what closing the window does. The running exchange gets a quarter
  /// of a second to return, and a command that gets to go on all the same is stopped.
  void EndAtOnce();

  [[nodiscard]] core::AppState& State() { return state_; }
  [[nodiscard]] MainWindow& Window() { return window_; }
  [[nodiscard]] QtMessageDialog& MessageDialog() { return message_dialog_; }
  [[nodiscard]] core::RunContext& Context() { return context_; }
  [[nodiscard]] ComDialog& ComPortDialog() { return com_dialog_; }
  [[nodiscard]] JobDialog& JobBox() { return job_dialog_; }

  /// The settings as this run sees them.
  [[nodiscard]] platform::RunSettingsStore& Settings() { return settings_; }

 private:
  void SetSupportPageLabel(std::string_view text) override;
  void SetCaption(std::string_view text) override;
  void Place(const screen::TwipsPlace& place) override;
  void PlaceView(screen::View view, const screen::TwipsPlace& place) override;
  void Show() override;
  void EnableTimer() override;
  void SelectComPort() override;
  void ShowGuide(const screen::TwipsPosition& position) override;
  [[nodiscard]] screen::TwipsPlace CurrentPlace() const override;
  [[nodiscard]] screen::TwipsPlace CurrentPlaceOf(screen::View view) const override;
  [[nodiscard]] screen::TwipsPosition GuidePosition() const override;
  [[nodiscard]] bool IsMinimised() const override;
  void UnloadOtherForms() override;

  [[nodiscard]] QRect ReachableChildPlace(const QRect& wanted) const;
  WindowActions Actions();
  [[nodiscard]] std::string DescribePort(int number) const;
  void WatchPort();
  void ShowFuseWords();
  [[nodiscard]] PortSummary SummaryOf(int item) const;
  [[nodiscard]] int SearchBoard(const std::vector<int>& items);
  void UseSimulation();
  void ReportUnwritableSettings();
  void ServeTaskbar();
  void ServeJobBox();
  void ShowJob();
  void OpenFile(const std::string& path);
  void Stop();
  bool Unload();
  void LeaveProgrammingMode();
  [[nodiscard]] std::string ManualFolder() const;
  void ShowAbout();
  void UpdateFirmware();

  core::AppState state_;
  SimulatedLines simulation_;  ///< empty until the user chooses it
  platform::SwitchedSerialControl programmer_port_;
  std::optional<platform::SwitchedSerialControl> updater_port_;
  std::function<SimulatedLines(core::RunContext& context)> make_simulation_;
  platform::PortInfos* ports_;
  platform::SingleInstance* instance_;
  platform::RunSettingsStore settings_;
  MainWindow window_;
  QtEventLoop events_;
  QtMessageDialog message_dialog_;
  QtMessageBoxes message_boxes_;
  QtFileDialogs file_dialogs_;
  QtShell qt_shell_;
  platform::Shell& shell_;
  const std::vector<std::string> manual_folders_;
  ComDialog com_dialog_;
  JobDialog job_dialog_;
  ops::WindowJob job_;
  std::unique_ptr<Taskbar> taskbar_;  ///< may be null
  core::RunContext context_;
  QTimer timer_;
  bool started_ = false;  ///< the start procedure has run to its end
  bool stopped_ = false;
  bool ends_at_once_ = false;  ///< windows are left as they are
  bool unwritable_settings_reported_ = false;
  screen::MessageBoxes* given_boxes_;
  screen::FileDialogs* given_file_dialogs_;
};

}  // namespace fenwright::ui
