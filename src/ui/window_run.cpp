#include "ui/window_run.h"

#include <functional>

#include "core/build_info.h"
#include "core/shell_requests.h"
#include "fuse/fuse_bytes.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/stop_procedure.h"
#include "ui/about_dialog.h"
#include "ui/elided_label.h"
#include "ui/fuse_frame.h"
#include "ui/guide_window.h"
#include "ui/text.h"
#include "ui/update_dialog.h"
#include "update/com_selection.h"

namespace fenwright::ui {
WindowRun::WindowRun(const WindowPlatform& outside)
    : ports_(outside.Ports),
      instance_(outside.Instance),
      settings_(outside.Settings),
      window_(state_),
      status_bar_(window_),
      message_dialog_(window_, state_),
      message_boxes_(&window_),
      file_dialogs_(&window_),
      shell_(outside.Shell ? *outside.Shell : qt_shell_),
      manual_folders_(outside.ManualFolders),
      views_(window_, outside.Files, outside.CodePage),
      device_form_(window_),
      hand_edit_form_(window_.HandEdit()),
      fuse_form_(window_.Fuses()),
      com_dialog_(window_, state_, [this](int number) { return DescribePort(number); }),
      main_form_(window_, FormActions()),
      context_{
          .State = state_,
          .Line = {.ProgrammerPort = outside.ProgrammerPort,
                   .Clock = outside.Clock,
                   .Events = events_},
          .Storage = {.Files = outside.Files, .CodePage = outside.CodePage, .Settings = settings_},
          .Screen = {.StatusBar = status_bar_,
                     .MessageDialog = message_dialog_,
                     .MessageBoxes = outside.MessageBoxes ? *outside.MessageBoxes : message_boxes_,
                     .FileDialogs = outside.FileDialogs ? *outside.FileDialogs : file_dialogs_,
                     .Views = views_,
                     .DeviceForm = device_form_,
                     .HandEdit = hand_edit_form_,
                     .Guide = window_.Guide(),
                     .Fuses = fuse_form_,
                     .ComForm = com_dialog_}},
      given_boxes_(outside.MessageBoxes),
      given_file_dialogs_(outside.FileDialogs),
      updater_port_(outside.UpdaterPort) {
  window_.SetMessageBoxes(context_.Screen.MessageBoxes);
  window_.Serve(std::bind_front(ops::RunCommand, std::ref(context_)), Actions());
  QObject::connect(&window_.About(), &AboutDialog::SupportPageRequested, &window_, [this] {
    core::OpenSupportPage(shell_, state_.SupportPageAddress, manual_folders_.front());
  });
  QObject::connect(&window_, &MainWindow::Closing, &window_, [this] { Stop(); });
  QObject::connect(&window_.Fuses(), &FuseFrame::SelectionChanged, &window_,
                   [this] { fuse::ShowFuseBytes(context_); });
}

WindowActions WindowRun::Actions() {
  return {.OpenDropped =
              [this](const QString& path) {
                window_.Run(
                    [&path](core::RunContext& context) { ops::OpenPair(context, ToUtf8(path)); });
              },
          .UpdateFirmware = [this] { UpdateFirmware(); },
          .OpenManual = [this] { core::OpenManual(shell_, ManualFolder()); },
          .ShowHelpContents = [this] { core::ShowHelpContents(context_, shell_, ManualFolder()); },
          .ShowAbout = [this] { ShowAbout(); }};
}

QtMainForm::Actions WindowRun::FormActions() {
  return {.SelectComPort = [this] { update::Cmd_btn_comselect_Click(context_); },
          .WatchPort = [this] { WatchPort(); },
          .UnloadOthers =
              [this] {
                com_dialog_.Unload();
                window_.About().hide();
                message_dialog_.Close();
              }};
}

core::CommandEnding WindowRun::Start(const ops::StartOptions& options) {
  const core::CommandEnding ending = window_.Run([&](core::RunContext& context) {
    ops::StartWindow(context, main_form_, instance_, options);
    started_ = true;
  });
  ReportUnwritableSettings();
  if (ending == core::CommandEnding::BadSetting) ops::DeleteTemporaryFiles(context_);
  if (ending == core::CommandEnding::Finished && !state_.CommandArgument.empty()) {
    window_.Run(
        [](core::RunContext& context) { ops::OpenPair(context, context.State.CommandArgument); });
  }
  return ending;
}

std::string WindowRun::ManualFolder() const {
  return core::FindManualFolder(context_.Storage.Files, manual_folders_);
}

void WindowRun::ShowAbout() {
  state_.SupportPageAddress = core::kSupportUrl;
  window_.About().open();
}

void WindowRun::Stop() {
  if (stopped_) return;
  stopped_ = true;
  if (!started_) {
    ops::DeleteTemporaryFiles(context_);
    return;
  }
  ops::QueryUnload(context_, main_form_);
  ops::Unload(context_, main_form_);
  ReportUnwritableSettings();
}

std::string WindowRun::DescribePort(int number) const {
  return ports_ ? update::DescribePort(ports_->Describe(number)) : std::string();
}

/// The panel that names the port says what has become of it.
void WindowRun::WatchPort() {
  if (state_.CommandRunning) return;
  ReportUnwritableSettings();
  ElidedLabel* const panel = window_.StatusPanel(screen::Panel::Port);
  if (!ports_ || !panel->text().startsWith("COM")) return;
  panel->setToolTip(ToQString(DescribePort(context_.Line.ProgrammerPort.CommPort())));
}

void WindowRun::ReportUnwritableSettings() {
  if (unwritable_settings_reported_ || !settings_.WriteFailed()) return;
  unwritable_settings_reported_ = true;
  context_.Screen.MessageBoxes.Show(
      screen::MessageIcon::Information, "",
      "設定を保存できません。\r\nこのまま使用できますが、ウインドウの位置、デバイス、"
      "通信ポートの選択は次の起動に引き継がれません。\r\n"
      "設定を保存するフォルダーの書き込み許可とディスクの空き容量を確認してください。");
}

/// The whole dialog is one command: no other starts while it is open.
void WindowRun::UpdateFirmware() {
  if (!updater_port_) return;
  UpdateDialog dialog(&window_, context_, *updater_port_,
                      {.MessageBoxes = given_boxes_, .FileDialogs = given_file_dialogs_});
  window_.SetCloseRequest([&dialog] { return dialog.RequestClose(); });
  ops::RunCommand(context_, [&dialog](core::RunContext& /*context*/) { dialog.Run(); });
  window_.SetCloseRequest({});
}

}  // namespace fenwright::ui
