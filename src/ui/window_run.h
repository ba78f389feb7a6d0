#pragma once

#include <string>
#include <vector>

#include "core/run_context.h"
#include "ops/commands.h"
#include "ui/main_window.h"
#include "ui/qt_device_form.h"
#include "ui/qt_event_loop.h"
#include "ui/qt_file_dialogs.h"
#include "ui/qt_hand_edit_form.h"
#include "ui/qt_message_boxes.h"
#include "ui/qt_message_dialog.h"
#include "ui/qt_shell.h"
#include "ui/qt_status_bar.h"
#include "ui/qt_views.h"

namespace fenwright::ui {

/// What a run of the window gets from outside.
struct WindowPlatform {
  platform::SerialControl& ProgrammerPort;
  platform::Clock& Clock;
  platform::TextFiles& Files;
  platform::CodePage& CodePage;
  platform::SettingsStore& Settings;
  /// In place of the window's own; null = the window's own.
  platform::MessageBoxes* MessageBoxes = nullptr;
  platform::FileDialogs* FileDialogs = nullptr;
  platform::Shell* Shell = nullptr;
  /// Folders in which the manual may lie, each with its separator; the program's own comes first.
  std::vector<std::string> ManualFolders = {""};
};

/// One run of the program with a window: the state, the window, its adapters and the context that
/// ties them together, with the window's controls connected to the commands.
class WindowRun {
 public:
  explicit WindowRun(const WindowPlatform& outside);
  WindowRun(const WindowRun&) = delete;
  WindowRun& operator=(const WindowRun&) = delete;

  /// Shows the window, runs the start command and opens the file that the program was started with.
  core::CommandEnding Start(const ops::StartOptions& options);

  [[nodiscard]] core::AppState& State() { return state_; }
  [[nodiscard]] MainWindow& Window() { return window_; }
  [[nodiscard]] QtMessageDialog& MessageDialog() { return message_dialog_; }
  [[nodiscard]] core::RunContext& Context() { return context_; }

 private:
  MainWindowCommands Commands();
  void ShowOpened(const ops::OpenResult& opened);
  void ShowOpenedCode(const ops::OpenResult& opened);
  void ShowOpenedData(const ops::OpenResult& opened);
  [[nodiscard]] std::string ManualFolder() const;
  void ShowAbout();
  void ShowRead();
  void ShowFileInfo(const std::string& code, const std::string& data);

  core::AppState state_;
  MainWindow window_;
  QtEventLoop events_;
  QtStatusBar status_bar_;
  QtMessageDialog message_dialog_;
  QtMessageBoxes message_boxes_;
  QtFileDialogs file_dialogs_;
  QtShell qt_shell_;
  platform::Shell& shell_;
  const std::vector<std::string> manual_folders_;
  QtViews views_;
  QtDeviceForm device_form_;
  QtHandEditForm hand_edit_form_;
  core::RunContext context_;
  std::string code_info_;  ///< about the code file in the flash buffer
  std::string data_info_;  ///< about the data file in the EEPROM buffer
};

}  // namespace fenwright::ui
