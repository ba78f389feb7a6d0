#include "ui/window_run.h"

#include "core/build_info.h"
#include "core/shell_requests.h"
#include "fuse/fuse_writing.h"
#include "image/file_summary.h"
#include "ops/stop_procedure.h"
#include "ui/about_dialog.h"
#include "ui/elided_label.h"
#include "ui/fuse_frame.h"
#include "ui/guide_window.h"
#include "ui/text.h"
#include "ui/update_dialog.h"
#include "update/com_selection.h"

namespace fenwright::ui {
namespace {

bool ReachedFiles(const ops::OpenResult& opened) {
  return opened.Ending == core::CommandEnding::Finished && opened.Chosen;
}

std::string DescribeCode(const core::AppState& state, const image::OpenReport& report) {
  return image::DescribeOpenedFiles(state, {.CodeFileFound = report.CodeFileFound,
                                            .KnownExtension = report.KnownExtension,
                                            .DataFileFound = false,
                                            .Code = report.Code,
                                            .Data = {}});
}

/// Stands for a system on which other runs do not matter.
class AlwaysAlone final : public platform::SingleInstance {
 public:
  bool Claim() override { return true; }
};

std::string DescribeData(const core::AppState& state, const image::OpenReport& report) {
  return image::DescribeOpenedFiles(state, {.CodeFileFound = false,
                                            .KnownExtension = false,
                                            .DataFileFound = report.DataFileFound,
                                            .Code = {},
                                            .Data = report.Data});
}

}  // namespace

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
  window_.SetCommands(Commands());
  QObject::connect(&window_.About(), &AboutDialog::SupportPageRequested, &window_, [this] {
    core::OpenSupportPage(shell_, state_.SupportPageAddress, manual_folders_.front());
  });
  QObject::connect(&window_, &MainWindow::Closing, &window_, [this] { Stop(); });
  QObject::connect(&window_.Fuses(), &FuseFrame::SelectionChanged, &window_,
                   [this] { fuse::ShowFuseBytes(context_); });
}

MainWindowCommands WindowRun::Commands() {
  return {
      .Open = [this] { ShowOpened(ops::OpenBothCommand(context_)); },
      .OpenCode = [this] { ShowOpenedCode(ops::OpenCodeCommand(context_)); },
      .OpenData = [this] { ShowOpenedData(ops::OpenDataCommand(context_)); },
      .OpenDropped =
          [this](const QString& path) { ShowOpened(ops::OpenBothCommand(context_, ToUtf8(path))); },
      .Reload = [this] { ShowOpened(ops::ReloadCommand(context_)); },
      .Save = [this] { ops::SaveCommand(context_); },
      .SaveAs = [this] { ops::SaveBothAsCommand(context_); },
      .SaveCodeAs = [this] { ops::SaveCodeAsCommand(context_); },
      .SaveDataAs = [this] { ops::SaveDataAsCommand(context_); },
      .ReadOneLocation = [this] { ops::ReadOneLocationCommand(context_); },
      .WriteOneLocation = [this] { ops::WriteOneLocationCommand(context_); },
      .Program = [this] { ops::ProgramCommand(context_); },
      .Read =
          [this] {
            ops::ReadCommand(context_);
            ShowRead();
          },
      .Verify = [this] { ops::VerifyCommand(context_); },
      .Erase = [this] { ops::EraseCommand(context_); },
      .PickDevice =
          [this] {
            ops::PickDeviceCommand(context_);
            // A change of chip has discarded the loaded image.
            ShowFileInfo({}, {});
          },
      .ClearBuffers =
          [this] {
            ops::ClearBuffersCommand(context_);
            ShowFileInfo({}, {});
          },
      .TraceComPortMenu = [this] { ops::TracePortMenuCommand(context_); },
      .SelectComPort = [this] { update::SelectComPortCommand(context_, com_dialog_); },
      .OpenGuide = [this] { window_.ShowGuide(); },
      .UpdateFirmware = [this] { UpdateFirmware(); },
      .OpenManual = [this] { core::OpenManual(shell_, ManualFolder()); },
      .ShowHelpContents = [this] { core::ShowHelpContents(context_, shell_, ManualFolder()); },
      .ShowAbout = [this] { ShowAbout(); },
      .ReadFuses = [this] { ops::ReadFusesCommand(context_); },
      .WriteFuses = [this] { ops::WriteFusesCommand(context_); },
      .PickRstDisable = [this] { ops::PickRstDisableCommand(context_); },
  };
}

QtMainForm::Actions WindowRun::FormActions() {
  return {.SelectComPort = [this] { update::SelectComPort(context_, com_dialog_); },
          .WatchPort = [this] { WatchPort(); },
          .UnloadOthers =
              [this] {
                com_dialog_.Unload();
                window_.About().hide();
                message_dialog_.Close();
              }};
}

core::CommandEnding WindowRun::Start(const ops::StartOptions& options) {
  AlwaysAlone alone;
  platform::SingleInstance& instance = instance_ ? *instance_ : alone;
  core::CommandEnding ending = core::CommandEnding::Refused;
  window_.Run([&] {
    ending = ops::StartWindowCommand(context_, main_form_, instance, options);
    started_ = ending == core::CommandEnding::Finished;
  });
  ReportUnwritableSettings();
  if (ending == core::CommandEnding::BadSetting) ops::DeleteTemporaryFiles(context_);
  if (ending == core::CommandEnding::Finished && !state_.CommandArgument.empty()) {
    window_.Run([this] { ShowOpened(ops::OpenBothCommand(context_, state_.CommandArgument)); });
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

void WindowRun::ShowOpened(const ops::OpenResult& opened) {
  if (!ReachedFiles(opened)) return;
  const image::OpenReport& report = opened.Report;
  // A file of another kind leaves the buffers as they are; one that is missing or cannot be read
  // leaves the EEPROM's.
  if (report.CodeFileFound && !report.KnownExtension) return;
  ShowFileInfo(DescribeCode(state_, report),
               report.DataFileReached ? DescribeData(state_, report) : data_info_);
}

void WindowRun::ShowOpenedCode(const ops::OpenResult& opened) {
  if (!ReachedFiles(opened) || !opened.Report.KnownExtension) return;
  // A file that could not be read is forgotten.
  const bool forgotten = state_.CodeFileName.empty();
  ShowFileInfo(forgotten ? std::string() : DescribeCode(state_, opened.Report), data_info_);
}

void WindowRun::ShowOpenedData(const ops::OpenResult& opened) {
  if (!ReachedFiles(opened)) return;
  ShowFileInfo(code_info_, DescribeData(state_, opened.Report));
}

/// What a read has brought is no file's any more. A save without a dialog still goes to the files
/// that were opened last, so those are named.
void WindowRun::ShowRead() {
  if (state_.Chip.FlashWordsRead > 0) ShowFileInfo(image::DescribeReadMemory(state_), {});
}

void WindowRun::ShowFileInfo(const std::string& code, const std::string& data) {
  code_info_ = code;
  data_info_ = data;
  const char* const between = code.empty() || data.empty() ? "" : "\n";
  window_.SetFileInfo(ToQString(code + between + data));
}

/// The whole dialog is one command: no other starts while it is open.
void WindowRun::UpdateFirmware() {
  if (!updater_port_) return;
  UpdateDialog dialog(&window_, context_, *updater_port_,
                      {.MessageBoxes = given_boxes_, .FileDialogs = given_file_dialogs_});
  window_.SetCloseRequest([&dialog] { return dialog.RequestClose(); });
  core::RunCommand(context_, [&dialog] { dialog.Run(); });
  window_.SetCloseRequest({});
}

}  // namespace fenwright::ui
