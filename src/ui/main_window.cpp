#include "ui/main_window.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDropEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QSessionManager>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "core/build_info.h"
#include "ops/commands.h"
#include "ui/about_dialog.h"
#include "ui/dropped_files.h"
#include "ui/elided_label.h"
#include "ui/fonts.h"
#include "ui/fuse_frame.h"
#include "ui/guide_window.h"
#include "ui/hand_edit_box.h"
#include "ui/icons.h"
#include "ui/mdi_arrange.h"
#include "ui/text.h"
#include "ui/twips.h"
#include "ui/view_window.h"
#include "ui/wrapped_label.h"
#include "update/com_selection.h"

namespace fenwright::ui {
namespace {

constexpr int kMargin = 6;
constexpr int kButtonSpacing = 4;
constexpr int kSettingsWidth = 368;
constexpr QSize kCommandIconSize(20, 20);
constexpr int kCommandButtonHeight = 36;

constexpr const char* kNoFileText = "ファイルは開かれていません。";

constexpr const char* kCloseQuestion =
    "処理を実行しています。\n\n"
    "終了すると、実行中の通信が終わったところで処理を中止します。"
    "チップは書き込みの途中の状態で残ることがあります。\n\n"
    "処理を中止して終了しますか？";

/// A selector that the mouse wheel does not touch: picking a device discards the loaded file.
class DeviceComboBox final : public QComboBox {
 protected:
  void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

void Name(QWidget* widget, const QString& object_name, const QString& accessible_name) {
  widget->setObjectName(object_name);
  widget->setAccessibleName(accessible_name);
}

QWidget* GroupLine() {
  auto* line = new QFrame;
  line->setFrameShape(QFrame::VLine);
  line->setFrameShadow(QFrame::Sunken);
  return line;
}

QLabel* SizeLabel(const QString& object_name, const QString& accessible_name) {
  auto* label = new QLabel;
  Name(label, object_name, accessible_name);
  label->setTextFormat(Qt::PlainText);
  // The two texts are padded so that their colons stand in one column of a monospaced font.
  QFont font = MonospacedFont();
  font.setPointSizeF(QApplication::font().pointSizeF());
  font.setLetterSpacing(QFont::AbsoluteSpacing, 0);
  label->setFont(font);
  return label;
}

}  // namespace

/// One command button. An empty shortcut stands for none.
struct MainWindow::ButtonDesign {
  const char* Name;
  const char* Caption;
  QIcon Icon;
  const char* ToolTip;
  QKeySequence Shortcut;
  MainWindow::EntryFunction Entry;
};

/// Disables, for its own lifetime, what would start a command. Closes the window at its end when
/// that was asked for meanwhile.
class MainWindow::DisabledControls {
 public:
  explicit DisabledControls(MainWindow& window)
      : window_(window), focus_(window.FocusedCommandControl()) {
    // A focused control that is disabled hands the focus on, and a view that gets it comes forward.
    if (focus_) focus_->clearFocus();
    window_.EnableControls(false);
  }
  ~DisabledControls() {
    if (window_.close_pending_) {
      window_.close();
      return;
    }
    window_.EnableControls(true);
    if (focus_) focus_->setFocus();
  }
  DisabledControls(const DisabledControls&) = delete;
  DisabledControls& operator=(const DisabledControls&) = delete;

 private:
  MainWindow& window_;
  const QPointer<QWidget> focus_;
};

MainWindow::MainWindow(core::AppState& state, QWidget* parent)
    : QMainWindow(parent), state_(state) {
  Name(this, "frmMain", "New Fenwright");
  setWindowTitle("New Fenwright " + ToQString(core::VersionText()));
  setWindowIcon(ChipIcon());
  setAcceptDrops(true);
  BuildContent();
  BuildMenus();
  BuildChildWindows();
  BuildStatusBar();
  BuildHelpKey();
  about_ = new AboutDialog(this);
  connect(this, &MainWindow::Closing, about_, &QDialog::reject);
  setGeometry(kMainWindowPlace.ToPixels());
  move(kMainWindowPlace.ToPixels().topLeft());
  connect(qApp, &QGuiApplication::commitDataRequest, this, &MainWindow::OnCommitData,
          Qt::DirectConnection);
}

// A window that is destroyed while shown hides its children, which signal that they lost the focus:
// by then there is no main window left to tell.
MainWindow::~MainWindow() { children_->disconnect(this); }

void MainWindow::Serve(Runner runner, WindowActions actions) {
  runner_ = std::move(runner);
  actions_ = std::move(actions);
}

core::CommandEnding MainWindow::Run(const ops::Entry& entry) {
  if (!MayStart()) return core::CommandEnding::Refused;
  const DisabledControls disabled(*this);
  const core::CommandEnding ending = runner_(entry);
  ShowFileInfo();
  return ending;
}

void MainWindow::Run(const std::function<void()>& action) {
  if (!action || !MayStart()) return;
  const DisabledControls disabled(*this);
  action();
}

QWidget* MainWindow::FocusedCommandControl() const {
  QWidget* const focus = focusWidget();
  const bool found = std::ranges::any_of(command_controls_, [focus](const QWidget* control) {
    return control == focus || control->isAncestorOf(focus);
  });
  return found ? focus : nullptr;
}

bool MainWindow::MayEndSession() {
  if (!state_.CommandRunning) return true;
  AskAndRequestStop();
  return false;
}

void MainWindow::ShowFileInfo() {
  const bool both = !state_.CodeInfo.empty() && !state_.DataInfo.empty();
  const QString text = ToQString(state_.CodeInfo + (both ? "\n" : "") + state_.DataInfo);
  file_info_->SetText(text.isEmpty() ? kNoFileText : text);
  file_info_->setToolTip(text.toHtmlEscaped().replace('\n', "<br>"));
}

void MainWindow::SetCaption(const QString& caption) { setWindowTitle(caption + caption_mark_); }

void MainWindow::MarkSimulated() {
  caption_mark_ = " [シミュレーション]";
  SetCaption(windowTitle());
}

ElidedLabel* MainWindow::StatusPanel(screen::Panel panel) const {
  return panels_.at(static_cast<std::size_t>(panel) - 1);
}

ViewWindow* MainWindow::ViewOf(screen::View view) const {
  switch (view) {
    case screen::View::Flash:
      return flash_view_;
    case screen::View::Eeprom:
      return eeprom_view_;
    case screen::View::Verify:
      break;
  }
  return verify_view_;
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

void MainWindow::dragEnterEvent(QDragEnterEvent* event) { AcceptHexFile(event); }

void MainWindow::dragMoveEvent(QDragMoveEvent* event) { AcceptHexFile(event); }

void MainWindow::dropEvent(QDropEvent* event) {
  AcceptHexFile(event);
  if (!event->isAccepted() || !actions_.OpenDropped) return;
  // The program that the file comes from waits for the end of the drop, not of the command.
  QMetaObject::invokeMethod(
      this, [this, path = FirstHexFile(*event->mimeData())] { actions_.OpenDropped(path); },
      Qt::QueuedConnection);
}

/// Takes a copy, whatever the other program proposes: a moved file would be gone.
void MainWindow::AcceptHexFile(QDropEvent* event) const {
  const bool copy = event->possibleActions().testFlag(Qt::CopyAction);
  if (!copy || !MayStart() || FirstHexFile(*event->mimeData()).isEmpty()) {
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

void MainWindow::OnCommitData(QSessionManager& manager) {
  if (!state_.CommandRunning) return;
  if (!manager.allowsInteraction()) {
    manager.cancel();
    return;
  }
  if (!MayEndSession()) manager.cancel();
  manager.release();
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

void MainWindow::BuildContent() {
  auto* content = new QWidget;
  auto* rows = new QVBoxLayout(content);
  rows->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  rows->setSpacing(kMargin);
  rows->addWidget(BuildCommandBar());

  children_ = new QMdiArea;
  Name(children_, "mdiArea", "メモリ表示");
  children_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  children_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  children_->setFrameShape(QFrame::StyledPanel);
  children_->setOption(QMdiArea::DontMaximizeSubWindowOnActivation);

  columns_ = new QSplitter(Qt::Horizontal);
  Name(columns_, "splColumns", "表示と設定");
  columns_->setHandleWidth(kMargin);
  columns_->addWidget(children_);
  columns_->addWidget(BuildSettingsPanel());
  columns_->setCollapsible(0, false);
  columns_->setStretchFactor(0, 1);
  columns_->setStretchFactor(1, 0);
  rows->addWidget(columns_, 1);
  setCentralWidget(content);
}

QWidget* MainWindow::BuildCommandBar() {
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(kButtonSpacing);

  const std::vector<std::vector<ButtonDesign>> groups{
      {{.Name = "Cmd_btn_open",
        .Caption = "オープン",
        .Icon = OpenIcon(),
        .ToolTip = "コードファイルとデータファイルを開きます (Ctrl+O)",
        .Shortcut = {},  // the menu item has it
        .Entry = ops::Cmd_btn_open_Click},
       {.Name = "Cmd_btn_save",
        .Caption = "セーブ",
        .Icon = SaveIcon(),
        .ToolTip = "開いているファイルに上書き保存します (Ctrl+S)",
        .Shortcut = {},  // the menu item has it
        .Entry = ops::Cmd_btn_save_Click},
       {.Name = "Cmd_btn_reload",
        .Caption = "リロード",
        .Icon = ReloadIcon(),
        .ToolTip = "最後に開いたファイルをもう一度読み込みます (Ctrl+R)",
        .Shortcut = QKeySequence(Qt::CTRL | Qt::Key_R),
        .Entry = ops::Cmd_btn_reload_Click}},
      {{.Name = "Cmd_btn_program",
        .Caption = "プログラム",
        .Icon = ProgramIcon(),
        .ToolTip = "チップを消去し、書き込み、ベリファイします (F5)",
        .Shortcut = QKeySequence(Qt::Key_F5),
        .Entry = ops::Cmd_btn_program_Click},
       {.Name = "Cmd_btn_read",
        .Caption = "リード",
        .Icon = ReadIcon(),
        .ToolTip = "チップの内容をバッファーに読み出します (F6)",
        .Shortcut = QKeySequence(Qt::Key_F6),
        .Entry = ops::Cmd_btn_read_Click},
       {.Name = "Cmd_btn_verify",
        .Caption = "ベリファイ",
        .Icon = VerifyIcon(),
        .ToolTip = "チップの内容をバッファーと比較します (F7)",
        .Shortcut = QKeySequence(Qt::Key_F7),
        .Entry = ops::Cmd_btn_verify_Click}},
      // No shortcut, and apart from the others: it destroys what is in the chip.
      {{.Name = "Cmd_btn_erase",
        .Caption = "イレース",
        .Icon = EraseIcon(),
        .ToolTip = "チップの内容をすべて消去します",
        .Shortcut = {},
        .Entry = ops::Cmd_btn_erase_Click}},
      {{.Name = "Cmd_btn_comselect",
        .Caption = "COM",
        .Icon = PortIcon(),
        .ToolTip = "ボードをつないだCOMポートを選びます",
        .Shortcut = {},
        .Entry = update::Cmd_btn_comselect_Click}}};
  for (const std::vector<ButtonDesign>& group : groups) {
    if (row->count() > 0) row->addWidget(GroupLine());
    for (const ButtonDesign& design : group) AddCommandButton(row, design);
  }
  row->addStretch(1);
  return bar;
}

void MainWindow::AddCommandButton(QHBoxLayout* row, const ButtonDesign& design) {
  auto* button = new QPushButton(design.Icon, design.Caption);
  Name(button, design.Name, design.Caption);
  button->setIconSize(kCommandIconSize);
  button->setMinimumHeight(kCommandButtonHeight);
  button->setToolTip(design.ToolTip);
  button->setShortcut(design.Shortcut);
  QFont font = button->font();
  font.setBold(true);
  button->setFont(font);
  connect(button, &QPushButton::clicked, this, [this, entry = design.Entry] { Run(entry); });
  command_controls_.push_back(button);
  row->addWidget(button);
}

QWidget* MainWindow::BuildSettingsPanel() {
  auto* panel = new QWidget;
  auto* rows = new QVBoxLayout(panel);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->setSpacing(kMargin);
  rows->addWidget(BuildDeviceBox());
  rows->addWidget(BuildFuseFrame());
  rows->addWidget(BuildFileBox());
  rows->addWidget(BuildHandEditBox());
  rows->addStretch(1);

  auto* area = new QScrollArea;
  Name(area, "fraSettings", "設定");
  area->setFrameShape(QFrame::NoFrame);
  area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  area->setWidgetResizable(true);
  area->setFixedWidth(kSettingsWidth);
  // A control that gets the focus is scrolled into sight; the area itself needs none.
  area->setFocusPolicy(Qt::NoFocus);
  area->setWidget(panel);
  return area;
}

QWidget* MainWindow::BuildFuseFrame() {
  fuses_ = new FuseFrame;
  connect(fuses_->ReadButton(), &QPushButton::clicked, this,
          [this] { Run(ops::cmdFuseRead_Click); });
  connect(fuses_->WriteButton(), &QPushButton::clicked, this,
          [this] { Run(ops::cmdFuseWrite_Click); });
  connect(fuses_, &FuseFrame::ResetPinPicked, this, [this] { Run(ops::Combo_RSTDISABL_Click); });
  // As a whole, since which of its controls a device has is not the window's business.
  command_controls_.push_back(fuses_);
  return fuses_;
}

QWidget* MainWindow::BuildDeviceBox() {
  auto* box = new QGroupBox("デバイス");
  Name(box, "fraDevice", "デバイスの設定");
  auto* rows = new QVBoxLayout(box);
  rows->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  rows->setSpacing(kMargin / 2);

  device_selector_ = new DeviceComboBox;
  Name(device_selector_, "Combo_device", "デバイス");
  device_selector_->setToolTip("書き込むデバイスを選びます。選び直すとバッファーは消去されます。");
  device_selector_->setMaxVisibleItems(20);
  device_selector_->setMinimumHeight(28);
  connect(device_selector_, &QComboBox::activated, this, [this] { Run(ops::Combo_device_Click); });
  command_controls_.push_back(device_selector_);
  rows->addWidget(device_selector_);

  device_frame_ = new QFrame;
  Name(device_frame_, "fraDeviceInfo", "デバイスの情報");
  device_frame_->setVisible(false);
  auto* sizes = new QVBoxLayout(device_frame_);
  sizes->setContentsMargins(2, 2, 2, 0);
  sizes->setSpacing(2);
  flash_size_ = SizeLabel("Lbl_flash_size", "プログラムメモリの容量");
  eeprom_size_ = SizeLabel("Lbl_eeprom_size", "EEPROMデータメモリの容量");
  sizes->addWidget(flash_size_);
  sizes->addWidget(eeprom_size_);
  rows->addWidget(device_frame_);
  return box;
}

QWidget* MainWindow::BuildFileBox() {
  auto* box = new QGroupBox("ファイル");
  Name(box, "fraFile", "開いているファイル");
  auto* rows = new QVBoxLayout(box);
  file_info_ = new WrappedLabel;
  Name(file_info_, "lblFileInfo", "ファイルの情報");
  ShowFileInfo();
  rows->addWidget(file_info_);
  return box;
}

QWidget* MainWindow::BuildHandEditBox() {
  hand_edit_ = new HandEditBox;
  connect(hand_edit_->Address(), &QLineEdit::textChanged, this,
          [this] { Run(ops::txtAddress_Change); });
  connect(hand_edit_->ReadButton(), &QPushButton::clicked, this,
          [this] { Run(ops::CmdRead_Click); });
  connect(hand_edit_->WriteButton(), &QPushButton::clicked, this,
          [this] { Run(ops::CmdWrite_Click); });
  for (QWidget* control : hand_edit_->Controls()) command_controls_.push_back(control);
  return hand_edit_;
}

void MainWindow::BuildChildWindows() {
  flash_view_ =
      new ViewWindow("frmProgram", "txtPrg", "フラッシュプログラムメモリ", MonospacedFont());
  eeprom_view_ =
      new ViewWindow("frmEEprom", "txtEEp", "EEPROMデータメモリ", NarrowMonospacedFont());
  verify_view_ = new ViewWindow("frmVerify", "rtVerify", "ベリファイ結果", MonospacedFont());
  for (ViewWindow* view : {flash_view_, eeprom_view_, verify_view_}) children_->addSubWindow(view);
  flash_view_->setGeometry(kFlashViewPlace.ToPixels());
  eeprom_view_->setGeometry(kEepromViewPlace.ToPixels());
  verify_view_->setGeometry(kVerifyViewPlace.ToPixels());
  verify_view_->hide();
  guide_ = new GuideWindow;
  children_->addSubWindow(guide_);
  guide_->setGeometry(QRect(QPoint(0, 0), guide_->sizeHint()));
  guide_->hide();
  connect(children_, &QMdiArea::subWindowActivated, this, &MainWindow::MoveTabStop);
  OrderTabStops();
}

/// By the eye: the command buttons, the child windows, the settings area.
void MainWindow::OrderTabStops() {
  const auto selector = std::ranges::find(command_controls_, device_selector_);
  QWidget* before = *std::prev(selector);
  for (const QMdiSubWindow* child : children_->subWindowList()) {
    setTabOrder(before, child->widget());
    before = child->widget();
  }
}

/// Tab comes by the active child window alone; it would bring any other forward.
void MainWindow::MoveTabStop(const QMdiSubWindow* active) {
  if (!active) return;
  for (ChildWindow* child : children_->findChildren<ChildWindow*>()) {
    child->SetTabStop(child == active);
  }
}

void MainWindow::BuildStatusBar() {
  struct PanelDesign {
    const char* Name;
    const char* AccessibleName;
    int Width;  ///< in cells of the interface font, 0 = what is left
  };
  static constexpr std::array<PanelDesign, 5> kPanels{{
      {.Name = "sbStatusBar_1", .AccessibleName = "ステータス", .Width = 0},
      {.Name = "sbStatusBar_2", .AccessibleName = "シグネチャ", .Width = 9},
      {.Name = "sbStatusBar_3", .AccessibleName = "ボードのバージョン", .Width = 15},
      {.Name = "sbStatusBar_4", .AccessibleName = "COMポート", .Width = 6},
      {.Name = "sbStatusBar_5", .AccessibleName = "経過時間", .Width = 6},
  }};
  Name(statusBar(), "sbStatusBar", "ステータスバー");
  statusBar()->setContentsMargins(kMargin - 2, 0, 0, 2);
  for (std::size_t index = 0; index < kPanels.size(); ++index) {
    const PanelDesign& design = kPanels.at(index);
    auto* panel = new ElidedLabel;
    Name(panel, design.Name, design.AccessibleName);
    panel->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    panel->setMargin(2);
    if (design.Width > 0) {
      panel->setFixedWidth(design.Width * fontMetrics().horizontalAdvance('0') + 12);
    }
    connect(panel, &ElidedLabel::Clicked, this, [this, panel] { OnPanelClicked(*panel); });
    statusBar()->addWidget(panel, design.Width > 0 ? 0 : 1);
    panels_.at(index) = panel;
  }
}

/// The number of the port stands in a panel: whichever panel names one opens the choice of port.
void MainWindow::OnPanelClicked(const ElidedLabel& panel) {
  if (panel.text().startsWith("COM")) Run(update::Cmd_btn_comselect_Click);
}

void MainWindow::ShowGuide() {
  guide_->showNormal();
  guide_->raise();
  children_->setActiveSubWindow(guide_);
}

void MainWindow::RearrangeWindows() {
  OpenSettingsArea();
  OpenFlashView();
  OpenEepromView();
}

/// The user can push the settings area aside; it comes back in its full width.
void MainWindow::OpenSettingsArea() {
  columns_->setSizes({columns_->width() - kSettingsWidth - kMargin, kSettingsWidth});
  device_selector_->setFocus();
}

void MainWindow::OpenFlashView() { OpenView(flash_view_, kFlashViewPlace.ToPixels()); }

void MainWindow::OpenEepromView() { OpenView(eeprom_view_, kEepromViewPlace.ToPixels()); }

void MainWindow::OpenView(ViewWindow* view, const QRect& place) {
  view->showNormal();
  view->setGeometry(place);
  view->raise();
  children_->setActiveSubWindow(view);
}

void MainWindow::CascadeChildren() {
  const int step = style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, flash_view_) + 4;
  PlaceChildren([step](const QSize& area, int count) { return CascadePlaces(area, count, step); });
}

void MainWindow::TileChildrenOneAboveTheOther() {
  PlaceChildren([](const QSize& area, int count) { return TilePlaces(area, count, Qt::Vertical); });
}

void MainWindow::TileChildrenSideBySide() {
  PlaceChildren(
      [](const QSize& area, int count) { return TilePlaces(area, count, Qt::Horizontal); });
}

void MainWindow::PlaceChildren(const std::function<std::vector<QRect>(const QSize&, int)>& places) {
  std::vector<QMdiSubWindow*> shown;
  for (QMdiSubWindow* child : children_->subWindowList()) {
    if (!child->isVisible() || child->isMinimized()) continue;
    if (child->isMaximized()) child->showNormal();
    shown.push_back(child);
  }
  const std::vector<QRect> rects =
      places(children_->maximumViewportSize(), static_cast<int>(shown.size()));
  for (std::size_t index = 0; index < shown.size(); ++index) {
    shown.at(index)->setGeometry(rects.at(index));
    shown.at(index)->raise();
  }
  if (!shown.empty()) children_->setActiveSubWindow(shown.back());
}

void MainWindow::ArrangeMinimisedChildren() {
  std::vector<QMdiSubWindow*> minimised;
  for (QMdiSubWindow* child : children_->subWindowList()) {
    if (child->isVisible() && child->isMinimized()) minimised.push_back(child);
  }
  if (minimised.empty()) return;
  const std::vector<QPoint> places =
      IconPlaces(children_->maximumViewportSize(), static_cast<int>(minimised.size()),
                 minimised.front()->size());
  for (std::size_t index = 0; index < minimised.size(); ++index) {
    minimised.at(index)->move(places.at(index));
  }
}

}  // namespace fenwright::ui
