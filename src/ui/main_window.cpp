#include "ui/main_window.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDropEvent>
#include <QGroupBox>
#include <QLineEdit>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

#include "core/build_info.h"
#include "image/buffer_content.h"
#include "image/buffers.h"
#include "image/file_summary.h"
#include "image/old_content.h"
#include "ops/commands.h"
#include "ops/socket_device.h"
#include "ui/about_dialog.h"
#include "ui/child_window_area.h"
#include "ui/controls.h"
#include "ui/device_box.h"
#include "ui/dropped_files.h"
#include "ui/fuse_frame.h"
#include "ui/hand_edit_box.h"
#include "ui/icons.h"
#include "ui/panel_bar.h"
#include "ui/text_pane.h"
#include "ui/twips.h"
#include "ui/wrapped_label.h"
#include "update/com_selection.h"

namespace fenwright::ui {
namespace {

constexpr int kWindowMargin = 6;
constexpr int kRowSpacing = 4;
constexpr int kSettingsWidth = 368;
constexpr int kFileLines = 3;

/// More of the file's lines than that are scrolled where there is no room.
constexpr int kMostFileLines = 6;

constexpr const char* kNoFileText = "ファイルは開かれていません。";

constexpr const char* kCloseQuestion =
    "処理を実行しています。\n\n"
    "終了すると、実行中の通信が終わったところで処理を中止します。"
    "チップは書き込みの途中の状態で残ることがあります。\n\n"
    "処理を中止して終了しますか？";

/// The settings. Where they do not fit, the fuse frame leaves out as many of its rows without a
/// field as are needed; only after that something has to be scrolled.
class SettingsArea final : public QScrollArea {
 public:
  SettingsArea(QWidget* panel, FuseFrame& fuses) : fuses_(fuses) {
    setWidget(panel);
    panel->installEventFilter(this);
  }

 protected:
  void resizeEvent(QResizeEvent* event) override {
    QScrollArea::resizeEvent(event);
    Fit();
  }
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == widget() && event->type() == QEvent::LayoutRequest) Fit();
    return QScrollArea::eventFilter(watched, event);
  }

 private:
  void Fit() {
    const int row = fuses_.RowHeight();
    const int missing =
        widget()->sizeHint().height() + fuses_.RowsLeftOut() * row - viewport()->height();
    const int rows = missing > 0 ? (missing + row - 1) / row : 0;
    if (rows == asked_) return;
    asked_ = rows;
    fuses_.LeaveRowsOut(rows);
  }

  FuseFrame& fuses_;
  int asked_ = 0;
};

}  // namespace

MainWindow::MainWindow(core::AppState& state, platform::TextFiles& files,
                       platform::CodePage& code_page)
    : state_(state),
      device_(new DeviceBox),
      fuses_(new FuseFrame),
      hand_edit_(new HandEditBox),
      children_(new ChildWindowArea(files, code_page)),
      panels_(new PanelBar) {
  Name(this, "frmMain", "New Fenwright");
  SetCaption("New Fenwright " + ToQString(core::VersionText()));
  setWindowIcon(ChipIcon());
  setAcceptDrops(true);
  BuildContent();
  BuildMenus();
  ConnectParts();
  BuildHelpKey();
  BuildDifferenceKeys();
  about_ = new AboutDialog(this);
  connect(this, &MainWindow::Closing, about_, &QDialog::reject);
  setGeometry(ToPixels(kMainWindowPlace));
  move(ToPixels(kMainWindowPlace).topLeft());
}

// A window that is destroyed while shown hides its children, which signal that they lost the focus:
// by then there is no main window left to tell.
MainWindow::~MainWindow() {
  disconnect(children_, &QMdiArea::subWindowActivated, nullptr, nullptr);
}

void MainWindow::Serve(Runner runner, WindowActions actions) {
  runner_ = std::move(runner);
  actions_ = std::move(actions);
}

core::CommandEnding MainWindow::Run(const ops::Entry& entry) {
  if (!runner_ || !MayStart()) return core::CommandEnding::Refused;
  const QPointer<QWidget> focus = DisableControls();
  const std::vector<std::uint8_t> flash = state_.FlashBuffer;
  const std::vector<std::uint8_t> eeprom = state_.EepromBuffer;
  const core::CommandEnding ending = runner_(entry);
  ShowFileInfo();
  const bool changed = flash != state_.FlashBuffer || eeprom != state_.EepromBuffer;
  if (ending != core::CommandEnding::Refused) ShowWhatMatters(changed);
  EndRun(focus);
  return ending;
}

/// Differences come to the front; after anything else that went well the memory does. A new device
/// is no reason: the guide that shows its place may be what the user looks at.
void MainWindow::ShowWhatMatters(bool buffers_changed) {
  const core::CommandRecord& done = state_.Command;
  if (!done.Differences.empty()) {
    children_->ShowReport();
    return;
  }
  const bool blank = image::UsedFlashWords(state_) == 0 && image::UsedEepromBytes(state_) == 0;
  const bool new_content = buffers_changed && !blank;
  if (new_content || done.VerifyFinished) children_->UncoverViews();
}

void MainWindow::Run(const std::function<void()>& action) {
  if (!action || !MayStart()) return;
  const QPointer<QWidget> focus = DisableControls();
  action();
  EndRun(focus);
}

/// Disables what would start a command; gives the control that had the focus, if it is one of them.
QPointer<QWidget> MainWindow::DisableControls() {
  emit Starting();
  QPointer<QWidget> focus = FocusedCommandControl();
  // A focused control that is disabled hands the focus on, and a view that gets it comes forward.
  if (focus) focus->clearFocus();
  EnableControls(false);
  return focus;
}

void MainWindow::EndRun(const QPointer<QWidget>& focus) {
  panels_->HideProgress();
  emit Finished();
  if (close_pending_) {
    close();
    return;
  }
  EnableControls(true);
  if (focus) focus->setFocus();
}

QWidget* MainWindow::FocusedCommandControl() const {
  QWidget* const focus = focusWidget();
  const bool found = std::ranges::any_of(command_controls_, [focus](const QWidget* control) {
    return control == focus || control->isAncestorOf(focus);
  });
  return found ? focus : nullptr;
}

void MainWindow::CloseUnasked() {
  close_pending_ = true;
  if (state_.CommandRunning) {
    state_.StopRequested = true;
  } else {
    close();
  }
}

void MainWindow::ShowFileInfo() {
  QStringList parts{ToQString(image::DescribeContent(state_))};
  if (parts.front().isEmpty()) parts.front() = kNoFileText;
  if (const std::string dumps = image::DescribeRefusedDumps(state_); !dumps.empty()) {
    parts << ToQString(dumps);
  }
  if (const std::string copies = image::DescribeMissingCopies(state_); !copies.empty()) {
    parts << ToQString(copies);
  }
  file_pane_->SetText(parts.join('\n'));
  // The panel names files alone; the tip says in which folder they are.
  if (!state_.CodeFileName.empty()) {
    parts << ToQString(state_.CodeFileName) << ToQString(state_.DataFileName);
    parts.removeAll(QString());
  }
  file_info_->setToolTip(parts.join('\n').toHtmlEscaped().replace('\n', "<br>"));
  MarkModified(image::HoldsUnsavedContent(state_));
}

/// The window system's own mark behind the caption, which is the described one until then.
void MainWindow::MarkModified(bool modified) {
  modified_ = modified;
  SetCaption(caption_);
}

void MainWindow::SetCaption(const QString& caption) {
  caption_ = caption;
  setWindowTitle(caption_ + caption_mark_ + (modified_ ? "[*]" : ""));
  setWindowModified(modified_);
}

void MainWindow::MarkSimulated() {
  caption_mark_ = " [シミュレーション]";
  SetCaption(caption_);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (!state_.CommandRunning) {
    emit Closing();
    event->accept();
    return;
  }
  event->ignore();
  AskAndRequestStop();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) { AcceptDroppedFile(event); }

void MainWindow::dragMoveEvent(QDragMoveEvent* event) { AcceptDroppedFile(event); }

void MainWindow::dropEvent(QDropEvent* event) {
  AcceptDroppedFile(event);
  if (!event->isAccepted() || !actions_.OpenDropped) return;
  // The program that the file comes from waits for the end of the drop, not of the command.
  QMetaObject::invokeMethod(
      this, [this, path = FirstFileToOpen(*event->mimeData())] { actions_.OpenDropped(path); },
      Qt::QueuedConnection);
}

/// Takes a copy, whatever the other program proposes: a moved file would be gone.
void MainWindow::AcceptDroppedFile(QDropEvent* event) const {
  const bool copy = event->possibleActions().testFlag(Qt::CopyAction);
  if (!copy || !MayStart() || FirstFileToOpen(*event->mimeData()).isEmpty()) {
    event->ignore();
    return;
  }
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

bool MainWindow::MayStart() const { return !state_.CommandRunning && !close_pending_; }

bool MainWindow::MayStop() {
  if (close_request_) return close_request_();
  return !boxes_ || boxes_->Ask("", kCloseQuestion);
}

/// The question runs the event loop, and the close request comes from inside a wait of the
/// command: the command stays where it is until the user has answered.
void MainWindow::AskAndRequestStop() {
  if (asking_ || close_pending_) return;
  asking_ = true;
  const bool close_window = MayStop();
  asking_ = false;
  if (!close_window) return;
  close_pending_ = true;
  state_.StopRequested = true;
}

void MainWindow::EnableControls(bool enable) {
  for (QAction* item : command_items_) item->setEnabled(enable);
  for (QWidget* control : command_controls_) control->setEnabled(enable);
}

/// F1 asks for the help contents.
void MainWindow::BuildHelpKey() {
  auto* contents = new QAction("ヘルプの目次", this);
  contents->setObjectName("actHelpContents");
  contents->setShortcut(QKeySequence(Qt::Key_F1));
  contents->setAutoRepeat(false);
  connect(contents, &QAction::triggered, this, [this] { Run(actions_.ShowHelpContents); });
  command_items_.push_back(contents);
  addAction(contents);
}

/// They start no command, so they can be used while one runs.
void MainWindow::BuildDifferenceKeys() {
  const auto add = [this](const char* name, const char* text, const QKeySequence& key,
                          void (ChildWindowArea::*go)()) {
    auto* step = new QAction(text, this);
    step->setObjectName(name);
    step->setShortcut(key);
    connect(step, &QAction::triggered, children_, go);
    addAction(step);
  };
  add("actNextDifference", "次の違い", QKeySequence(Qt::Key_F3),
      &ChildWindowArea::ShowNextDifference);
  add("actPreviousDifference", "前の違い", QKeySequence(Qt::SHIFT | Qt::Key_F3),
      &ChildWindowArea::ShowPreviousDifference);
}

void MainWindow::BuildContent() {
  auto* content = new QWidget;
  auto* rows = new QVBoxLayout(content);
  rows->setContentsMargins(kWindowMargin, kRowSpacing, kWindowMargin, kRowSpacing);
  rows->setSpacing(kRowSpacing);
  rows->addWidget(BuildCommandBar());

  columns_ = new QSplitter(Qt::Horizontal);
  Name(columns_, "splColumns", "表示と設定");
  columns_->setHandleWidth(kWindowMargin);
  columns_->addWidget(children_);
  columns_->addWidget(BuildSettingsPanel());
  columns_->setCollapsible(0, false);
  columns_->setStretchFactor(0, 1);
  columns_->setStretchFactor(1, 0);
  rows->addWidget(columns_, 1);
  setCentralWidget(content);
  setStatusBar(panels_);
  // By the eye: the command buttons, the child windows, the settings area.
  children_->TakeTabStopsBehind(command_controls_.back());
}

void MainWindow::ConnectParts() {
  const auto start = [this](const auto* sender, auto signal, void (*entry)(core::RunContext&)) {
    connect(sender, signal, this, [this, entry] { Run(entry); });
  };
  start(device_, &DeviceBox::Picked, ops::Combo_device_Click);
  start(fuses_->ReadButton(), &QPushButton::clicked, ops::cmdFuseRead_Click);
  start(fuses_->WriteButton(), &QPushButton::clicked, ops::cmdFuseWrite_Click);
  start(fuses_, &FuseFrame::ResetPinPicked, ops::Combo_RSTDISABL_Click);
  start(hand_edit_->Address(), &QLineEdit::textChanged, ops::txtAddress_Change);
  start(hand_edit_->ReadButton(), &QPushButton::clicked, ops::CmdRead_Click);
  start(hand_edit_->WriteButton(), &QPushButton::clicked, ops::CmdWrite_Click);
  connect(hand_edit_, &HandEditBox::MemoryChosen, children_, &ChildWindowArea::ClearMarks);
  start(panels_, &PanelBar::PortClicked, update::Cmd_btn_comselect_Click);
  // It starts no command, so it can be used while one runs.
  connect(panels_, &PanelBar::ReportClicked, children_, &ChildWindowArea::ShowReport);
  connect(children_, &ChildWindowArea::ReportChanged, panels_,
          [this] { panels_->OfferReport(children_->HasReport()); });
  command_controls_.push_back(device_->Selector());
  command_controls_.push_back(device_->SocketButton());
  connect(device_, &DeviceBox::SocketAsked, this, &MainWindow::OfferSocketDevices);
  connect(device_, &DeviceBox::SocketDevicePicked, this, [this](int index) {
    Run([index](core::RunContext& context) { ops::PickDeviceKeepingBuffers(context, index); });
  });
  // As a whole, since which of its controls a device has is not the window's business.
  command_controls_.push_back(fuses_);
  for (QWidget* control : hand_edit_->Controls()) command_controls_.push_back(control);
}

/// The offer comes once the command is over: until then nothing may be picked.
void MainWindow::OfferSocketDevices() {
  ops::SocketContent found;
  Run([&found](core::RunContext& context) { found = ops::IdentifySocket(context); });
  if (!close_pending_) device_->OfferDevices(found.Devices);
}

QWidget* MainWindow::BuildSettingsPanel() {
  auto* panel = new QWidget;
  auto* rows = new QVBoxLayout(panel);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->setSpacing(kRowSpacing - 1);
  rows->addWidget(device_);
  rows->addWidget(BuildFileBox());
  rows->addWidget(fuses_);
  rows->addWidget(hand_edit_);
  rows->addStretch(1);

  auto* area = new SettingsArea(panel, *fuses_);
  Name(area, "fraSettings", "設定");
  area->setFrameShape(QFrame::NoFrame);
  area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  area->setWidgetResizable(true);
  area->setFixedWidth(kSettingsWidth);
  // A control that gets the focus is scrolled into sight; the area itself needs none.
  area->setFocusPolicy(Qt::NoFocus);
  return area;
}

QWidget* MainWindow::BuildFileBox() {
  auto* box = new QFrame;
  Name(box, "fraFile", "開いているファイル");
  box->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  auto* rows = new QVBoxLayout(box);
  rows->setContentsMargins(kWindowMargin, 2, kWindowMargin, 2);
  file_info_ = new WrappedLabel;
  Name(file_info_, "lblFileInfo", "ファイルの情報");
  // What stands below it does not move when a file is opened.
  file_pane_ = new TextPane(file_info_, kMostFileLines, kFileLines);
  file_pane_->setObjectName("scrFileInfo");
  ShowFileInfo();
  rows->addWidget(file_pane_);
  return box;
}

void MainWindow::RearrangeWindows() {
  OpenSettingsArea();
  children_->OpenFlashView();
  children_->OpenEepromView();
}

/// The user can push the settings area aside; it comes back in its full width.
void MainWindow::OpenSettingsArea() {
  columns_->setSizes({columns_->width() - kSettingsWidth - kWindowMargin, kSettingsWidth});
  device_->Selector()->setFocus();
}

}  // namespace fenwright::ui
