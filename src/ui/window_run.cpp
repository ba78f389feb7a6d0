#include "ui/window_run.h"

#include <algorithm>
#include <functional>

#include <QGuiApplication>
#include <QScreen>
#include <QStyle>

#include "core/build_info.h"
#include "core/shell_requests.h"
#include "core/trace_log.h"
#include "fuse/fuse_bytes.h"
#include "fuse/fuse_words.h"
#include "link/board_commands.h"
#include "link/board_search.h"
#include "link/serial_link.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/stop_procedure.h"
#include "ui/about_dialog.h"
#include "ui/dropped_files.h"
#include "ui/elided_label.h"
#include "ui/fuse_frame.h"
#include "ui/guide_window.h"
#include "ui/hand_edit_box.h"
#include "ui/screen_place.h"
#include "ui/text.h"
#include "ui/twips.h"
#include "ui/update_dialog.h"
#include "ui/view_window.h"
#include "update/com_selection.h"

namespace fenwright::ui {
namespace {

constexpr int kTimerMilliseconds = 2000;

/// What the running exchange gets to return when the process is about to be gone.
constexpr double kLastExchangeSeconds = 0.25;

QList<QRect> Screens() {
  QList<QRect> areas;
  for (const QScreen* screen : QGuiApplication::screens()) areas << screen->availableGeometry();
  return areas;
}

int TitleHeight(const QWidget& window) {
  return window.style()->pixelMetric(QStyle::PM_TitleBarHeight);
}

}  // namespace

WindowRun::WindowRun(const WindowPlatform& outside)
    : programmer_port_(outside.ProgrammerPort),
      make_simulation_(outside.MakeSimulation),
      ports_(outside.Ports),
      instance_(outside.Instance),
      settings_(outside.Settings),
      window_(state_, outside.Files, outside.CodePage),
      message_dialog_(window_, state_),
      message_boxes_(&window_),
      file_dialogs_(&window_),
      shell_(outside.Shell ? *outside.Shell : qt_shell_),
      manual_folders_(outside.ManualFolders),
      com_dialog_(window_, state_,
                  [this](int index) { return DescribePort(update::PortOfItem(context_, index)); }),
      job_dialog_(&window_),
      taskbar_(outside.MakeTaskbar ? outside.MakeTaskbar(window_) : nullptr),
      context_{
          .State = state_,
          .Line = {.ProgrammerPort = programmer_port_, .Clock = outside.Clock, .Events = events_},
          .Storage = {.Files = outside.Files,
                      .CodePage = outside.CodePage,
                      .Settings = settings_,
                      .Archive = outside.Archive},
          .Screen = {.StatusBar = window_.Panels(),
                     .MessageDialog = message_dialog_,
                     .MessageBoxes = outside.MessageBoxes ? *outside.MessageBoxes : message_boxes_,
                     .FileDialogs = outside.FileDialogs ? *outside.FileDialogs : file_dialogs_,
                     .Views = *window_.ChildArea(),
                     .DeviceForm = window_.Device(),
                     .HandEdit = window_.HandEdit(),
                     .Guide = window_.Guide(),
                     .Fuses = window_.Fuses(),
                     .ComForm = com_dialog_}},
      given_boxes_(outside.MessageBoxes),
      given_file_dialogs_(outside.FileDialogs) {
  if (outside.UpdaterPort) updater_port_.emplace(*outside.UpdaterPort);
  if (ports_) {
    com_dialog_.SetSummaries([this](int item) { return SummaryOf(item); });
    com_dialog_.SetSearch([this](const std::vector<int>& items) { return SearchBoard(items); });
  }
  if (make_simulation_) com_dialog_.SetSimulation([this] { UseSimulation(); });
  window_.SetMessageBoxes(context_.Screen.MessageBoxes);
  window_.Serve(std::bind_front(ops::RunCommand, std::ref(context_)), Actions());
  QObject::connect(&window_.About(), &AboutDialog::SupportPageRequested, &window_, [this] {
    core::OpenSupportPage(shell_, state_.SupportPageAddress, manual_folders_.front());
  });
  timer_.setInterval(kTimerMilliseconds);
  QObject::connect(&timer_, &QTimer::timeout, &window_, [this] { WatchPort(); });
  QObject::connect(&window_, &MainWindow::Closing, &window_, [this] { Stop(); });
  QObject::connect(&window_.Fuses(), &FuseFrame::SelectionChanged, &window_,
                   [this] { fuse::ShowFuseBytes(context_); });
  QObject::connect(&window_.Fuses(), &FuseFrame::BytesShown, &window_, [this] { ShowFuseWords(); });
  if (taskbar_) ServeTaskbar();
  ServeJobBox();
}

/// It is up to date whenever it is seen.
void WindowRun::ServeJobBox() {
  const auto run = [this](void (*entry)(core::RunContext&, ops::WindowJob&)) {
    window_.Run([this, entry](core::RunContext& context) { entry(context, job_); });
  };
  QObject::connect(&window_.Device(), &DeviceBox::JobAsked, &window_, [this] {
    ShowJob();
    job_dialog_.show();
    job_dialog_.raise();
    job_dialog_.activateWindow();
  });
  QObject::connect(&job_dialog_, &JobDialog::OpenAsked, &window_,
                   [run] { run(ops::cmdJobOpen_Click); });
  QObject::connect(&job_dialog_, &JobDialog::SaveAsked, &window_,
                   [run] { run(ops::cmdJobSave_Click); });
  QObject::connect(&job_dialog_, &JobDialog::FusesPicked, &window_, [this](bool with_fuses) {
    job_.WithFuses = with_fuses;
    ShowJob();
  });
  QObject::connect(&window_, &MainWindow::Starting, &job_dialog_,
                   [this] { job_dialog_.EnableCommands(false); });
  QObject::connect(&window_, &MainWindow::Finished, &job_dialog_, [this] {
    job_dialog_.EnableCommands(true);
    ShowJob();
  });
  QObject::connect(&window_.Fuses(), &FuseFrame::SelectionChanged, &job_dialog_,
                   [this] { ShowJob(); });
  QObject::connect(&window_, &MainWindow::Closing, &job_dialog_, &QDialog::hide);
}

void WindowRun::ShowJob() {
  job_dialog_.Show(
      {.Description = ToQString(ops::DescribeJob(context_, job_)),
       .CommandLine = ToQString(ops::JobCommandLine(context_, job_, window_.IsSimulated())),
       .MaySave = ops::WhyNoJob(context_).empty(),
       .WithFuses = job_.WithFuses});
}

/// A job, or a code file with the data file beside it.
void WindowRun::OpenFile(const std::string& path) {
  window_.Run([this, &path](core::RunContext& context) {
    if (IsJobFile(ToQString(path))) {
      ops::OpenJob(context, job_, path);
    } else {
      ops::OpenPair(context, path);
    }
  });
}

/// Progress while a command runs, and a failure until the user has taken note of it.
void WindowRun::ServeTaskbar() {
  QObject::connect(&window_, &MainWindow::Starting, &window_, [this] { taskbar_->Clear(); });
  QObject::connect(&message_dialog_, &QtMessageDialog::Progressed, &window_,
                   [this](int percent) { taskbar_->ShowProgress(percent); });
  QObject::connect(&window_, &MainWindow::Finished, &window_, [this] {
    const bool failed = state_.Command.Outcome == screen::Outcome::Failure;
    if (failed) {
      taskbar_->ShowFailure();
    } else {
      taskbar_->Clear();
    }
  });
  QObject::connect(&message_dialog_, &QtMessageDialog::Unloaded, &window_, [this] {
    if (!state_.CommandRunning) taskbar_->Clear();
  });
}

PortSummary WindowRun::SummaryOf(int item) const {
  const platform::PortInfo port = ports_->Describe(update::PortOfItem(context_, item));
  const QString name = ToQString(port.Description.empty() ? port.Path : port.Description);
  const auto with = [&name](const char* state) {
    return name.isEmpty() ? QString(state) : name + "、" + state;
  };
  switch (port.State) {
    case platform::PortState::Usable:
      return {.Present = true, .Usable = true, .Text = with("使用できます")};
    case platform::PortState::Busy:
      return {.Present = true, .Text = with("使用中")};
    case platform::PortState::NoPermission:
      return {.Present = true, .Text = with("使用の許可がありません")};
    case platform::PortState::Missing:
      break;
  }
  return {.Present = false, .Text = "なし"};
}

/// The items that are given are ports that are there; one that cannot be opened is passed over.
int WindowRun::SearchBoard(const std::vector<int>& items) {
  std::vector<int> ports;
  ports.reserve(items.size());
  for (const int item : items) ports.push_back(update::PortOfItem(context_, item));
  const int found = link::SearchBoard(context_, ports);
  const auto place = std::ranges::find(ports, found);
  return found == 0 ? 0 : items.at(static_cast<std::size_t>(place - ports.begin()));
}

/// For the rest of this run. The user's settings stay as they are: the next start asks again.
void WindowRun::UseSimulation() {
  if (simulation_.ProgrammerPort) return;
  simulation_ = make_simulation_(context_);
  programmer_port_.SwitchTo(*simulation_.ProgrammerPort);
  if (updater_port_) updater_port_->SwitchTo(*simulation_.UpdaterPort);
  ports_ = simulation_.Ports.get();
  settings_.KeepToThisRun();
  window_.MarkSimulated();
  core::TraceLog(context_).AppendMessage("シミュレーション");
}

void WindowRun::ShowFuseWords() {
  std::vector<FieldNote> notes;
  for (const fuse::ChangedField& field :
       fuse::ChangedFields(window_.Device().DeviceText(), fuse::SelectionOf(context_))) {
    notes.push_back({.List = field.List,
                     .Default = ToQString(field.Default),
                     .Words = ToQString(field.Words),
                     .Source = ToQString(field.Source)});
  }
  window_.Fuses().ShowNotes(notes);
}

WindowActions WindowRun::Actions() {
  return {.OpenDropped = [this](const QString& path) { OpenFile(ToUtf8(path)); },
          .UpdateFirmware = [this] { UpdateFirmware(); },
          .OpenManual = [this] { core::OpenManual(shell_, ManualFolder()); },
          .ShowHelpContents = [this] { core::ShowHelpContents(context_, shell_, ManualFolder()); },
          .ShowAbout = [this] { ShowAbout(); }};
}

core::CommandEnding WindowRun::Start(const ops::StartOptions& options) {
  const core::CommandEnding ending = window_.Run([&](core::RunContext& context) {
    ops::StartWindow(context, *this, instance_, options);
    started_ = true;
  });
  ReportUnwritableSettings();
  // Either has told the user its reason, and the window is not worked with half started.
  if (ending == core::CommandEnding::BadSetting || ending == core::CommandEnding::FileError) {
    ops::DeleteTemporaryFiles(context_);
  }
  if (ending == core::CommandEnding::Finished && !state_.CommandArgument.empty()) {
    OpenFile(state_.CommandArgument);
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
  if (Unload()) ReportUnwritableSettings();
}

/// False when there was nothing to store, since the start has not come to its end.
bool WindowRun::Unload() {
  if (state_.AppFolder.empty()) return false;
  if (!started_) {
    ops::DeleteTemporaryFiles(context_);
    return false;
  }
  ops::QueryUnload(context_, *this);
  ops::Unload(context_, *this);
  return true;
}

void WindowRun::EndAtOnce() {
  if (stopped_) return;
  stopped_ = true;
  ends_at_once_ = true;
  events_.Stop();
  LeaveProgrammingMode();
  // Closing a port waits until its bytes are out.
  context_.Line.ProgrammerPort.Close();
  if (updater_port_) updater_port_->Close();
  state_.StopRequested = state_.CommandRunning;
  Unload();
}

/// The board answers in order: what it still works on comes first.
void WindowRun::LeaveProgrammingMode() {
  if (!state_.Command.InProgrammingMode) return;
  state_.StopRequested = false;
  try {
    link::RestForBytes(context_, 1, kLastExchangeSeconds);
    link::LeaveProgrammingModeIfEntered(context_);
  } catch (const core::CommandEnd&) {
    // The trace cannot be written; the byte has gone out before it.
  }
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

void WindowRun::SetSupportPageLabel(std::string_view text) {
  window_.About().SetSupportPageLabel(ToQString(text));
}

void WindowRun::SetCaption(std::string_view text) { window_.SetCaption(ToQString(text)); }

/// The position is that of the window's frame, the size that of what is inside: this is the pair
/// that brings a window back to the pixel where it was.
void WindowRun::Place(const screen::TwipsPlace& place) {
  const int title = TitleHeight(window_);
  const QRect wanted = ToPixels(place).adjusted(0, 0, 0, title);
  const QRect reachable = ReachablePlace(wanted, Screens(), title);
  window_.resize(reachable.width(), reachable.height() - title);
  window_.move(reachable.topLeft());
}

void WindowRun::PlaceView(screen::View view, const screen::TwipsPlace& place) {
  window_.ViewOf(view)->setGeometry(ReachableChildPlace(ToPixels(place)));
}

void WindowRun::Show() { window_.show(); }

void WindowRun::EnableTimer() { timer_.start(); }

void WindowRun::SelectComPort() { update::Cmd_btn_comselect_Click(context_); }

void WindowRun::ShowGuide(const screen::TwipsPosition& position) {
  const QPoint wanted(TwipsToPixels(position.Left), TwipsToPixels(position.Top));
  GuideWindow& guide = window_.Guide();
  guide.move(ReachableChildPlace(QRect(wanted, guide.size())).topLeft());
  window_.ChildArea()->ShowGuide();
}

screen::TwipsPosition WindowRun::GuidePosition() const {
  const screen::TwipsPlace place = ToTwips(window_.Guide().NormalPlace());
  return {.Left = place.Left, .Top = place.Top};
}

screen::TwipsPlace WindowRun::CurrentPlace() const {
  return ToTwips(QRect(window_.pos(), window_.size()));
}

screen::TwipsPlace WindowRun::CurrentPlaceOf(screen::View view) const {
  return ToTwips(window_.ViewOf(view)->NormalPlace());
}

bool WindowRun::IsMinimised() const { return window_.isMinimized(); }

void WindowRun::UnloadOtherForms() {
  if (ends_at_once_) return;
  timer_.stop();
  com_dialog_.Unload();
  window_.About().hide();
  message_dialog_.Close();
}

/// A child can be scrolled to, so the window's own size is a generous measure for what is lost.
QRect WindowRun::ReachableChildPlace(const QRect& wanted) const {
  return ReachablePlace(wanted, {QRect(QPoint(0, 0), window_.size())}, TitleHeight(window_));
}

}  // namespace fenwright::ui
