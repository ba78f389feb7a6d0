#include "ui/main_window.h"

#include <array>
#include <map>
#include <set>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStatusBar>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QUrl>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include "core/build_info.h"
#include "ui/elided_label.h"
#include "ui/entry_names.h"
#include "ui/fuse_frame.h"
#include "ui/hand_edit_box.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

class MainWindowTest : public ::testing::Test {
 protected:
  MainWindowTest() {
    window_.SetMessageBoxes(boxes_);
    LogStarts(window_, [this](const std::string& name) { RunCommand(name); });
    form_.SetDevices({"ATtiny12L", "ATtiny15L"});
    fuses_.EnableButtons(true, true);
    window_.show();
    QApplication::processEvents();
  }

  /// Stands for a command of the engine: it holds the guard and lets events run.
  void RunCommand(const std::string& name) {
    log_.push_back(name);
    state_.CommandRunning = true;
    if (during_command_) during_command_();
    QApplication::processEvents();
    state_.CommandRunning = false;
    state_.StopRequested = false;
  }

  QPushButton* Button(const char* name) { return Find<QPushButton>(window_, name); }
  void Press(const char* name) { QTest::mouseClick(Button(name), Qt::LeftButton); }
  void Choose(const char* action) { Find<QAction>(window_, action)->trigger(); }

  core::AppState state_;
  testing::FakeTextFiles files_;
  platform::Cp932CodePage code_page_;
  MainWindow window_{state_, files_, code_page_};
  DeviceBox& form_ = window_.Device();
  FuseFrame& fuses_ = window_.Fuses();
  PanelBar& status_bar_ = window_.Panels();
  AnsweredBoxes boxes_;
  std::vector<std::string> log_;
  std::function<void()> during_command_;
};

using Log = std::vector<std::string>;

std::string Native(const char* path) { return QDir::toNativeSeparators(path).toStdString(); }

TEST_F(MainWindowTest, TheCaptionNamesProgramAndVersion) {
  EXPECT_EQ(window_.windowTitle().toStdString(),
            "New Fenwright Version " + std::string(core::kVersion));
}

TEST_F(MainWindowTest, ContentThatNoFileHoldsIsMarkedInTheCaptionTheSystemsOwnWay) {
  const QString caption = window_.windowTitle();
  EXPECT_FALSE(window_.isWindowModified());
  state_.FlashWords = 512;
  std::ranges::fill(state_.FlashBuffer, core::kBlank);
  state_.FlashBuffer[3] = 0x12;
  window_.ShowFileInfo();
  EXPECT_TRUE(window_.isWindowModified());
  EXPECT_EQ(window_.windowTitle(), caption + "[*]");
  state_.FlashBuffer[3] = core::kBlank;
  window_.ShowFileInfo();
  EXPECT_FALSE(window_.isWindowModified());
  EXPECT_EQ(window_.windowTitle(), caption);
}

TEST_F(MainWindowTest, ASimulatedRunSaysSoInTheCaption) {
  window_.MarkSimulated();
  EXPECT_TRUE(window_.windowTitle().endsWith(" [シミュレーション]"));
}

constexpr std::array kButtons{"Cmd_btn_open",    "Cmd_btn_save",      "Cmd_btn_reload",
                              "Cmd_btn_program", "Cmd_btn_read",      "Cmd_btn_verify",
                              "Cmd_btn_erase",   "Cmd_btn_comselect", "cmdFuseRead",
                              "cmdFuseWrite",    "CmdRead",           "CmdWrite"};

constexpr std::array kItems{"mnuFileOpen",       "mnuFileOpenCode", "mnuFileOpenData",
                            "mnuFileSave",       "mnuFileSaveAs",   "mnuFileSaveAsCode",
                            "mnuFileSaveAsData", "mnuReLoad"};

TEST_F(MainWindowTest, EachButtonRunsItsCommand) {
  for (const std::string name : kButtons) {
    log_.clear();
    Press(name.c_str());
    EXPECT_EQ(log_, Log{name + "_Click"});
  }
}

TEST_F(MainWindowTest, EachMenuItemRunsItsCommand) {
  for (const std::string name : kItems) {
    log_.clear();
    Choose(name.c_str());
    EXPECT_EQ(log_, Log{name + "_Click"});
  }
}

TEST_F(MainWindowTest, EachCommandButtonHasAPictureACaptionAndATip) {
  const std::vector<std::pair<const char*, const char*>> captions{
      {"Cmd_btn_open", "オープン"},   {"Cmd_btn_save", "セーブ"},
      {"Cmd_btn_reload", "リロード"}, {"Cmd_btn_program", "プログラム"},
      {"Cmd_btn_read", "リード"},     {"Cmd_btn_verify", "ベリファイ"},
      {"Cmd_btn_erase", "イレース"},  {"Cmd_btn_comselect", "COM"}};
  std::vector<QImage> pictures;
  for (const auto& [name, caption] : captions) {
    EXPECT_EQ(Button(name)->text(), caption);
    EXPECT_FALSE(Button(name)->toolTip().isEmpty()) << name;
    const QImage picture = Button(name)->icon().pixmap(QSize(24, 24)).toImage();
    EXPECT_FALSE(picture.isNull()) << name;
    for (const QImage& other : pictures) EXPECT_NE(picture, other) << name;
    pictures.push_back(picture);
  }
}

TEST_F(MainWindowTest, ShortcutsRunTheirCommands) {
  struct Shortcut {
    Qt::Key Key;
    Qt::KeyboardModifiers Modifiers;
    const char* Command;
  };
  const std::vector<Shortcut> shortcuts{
      {Qt::Key_O, Qt::ControlModifier, "mnuFileOpen_Click"},
      {Qt::Key_S, Qt::ControlModifier, "mnuFileSave_Click"},
      {Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier, "mnuFileSaveAs_Click"},
      {Qt::Key_R, Qt::ControlModifier, "Cmd_btn_reload_Click"},
      {Qt::Key_F5, Qt::NoModifier, "Cmd_btn_program_Click"},
      {Qt::Key_F6, Qt::NoModifier, "Cmd_btn_read_Click"},
      {Qt::Key_F7, Qt::NoModifier, "Cmd_btn_verify_Click"}};
  for (const Shortcut& shortcut : shortcuts) {
    log_.clear();
    QTest::keyClick(&window_, shortcut.Key, shortcut.Modifiers);
    // A button shows for a moment that it was pressed.
    EXPECT_TRUE(QTest::qWaitFor([this] { return log_.size() == 1; }, 2000)) << shortcut.Command;
    EXPECT_EQ(log_, (Log{shortcut.Command}));
  }
}

TEST_F(MainWindowTest, NoShortcutIsGivenTwiceAndErasingHasNone) {
  std::vector<QKeySequence> own;
  std::set<QKeySequence> others;  // of the child windows' own menus
  for (const QAction* action : window_.findChildren<QAction*>()) {
    if (action->shortcut().isEmpty()) continue;
    if (action->objectName().isEmpty()) {
      others.insert(action->shortcut());
    } else {
      own.push_back(action->shortcut());
    }
  }
  for (const QPushButton* button : window_.findChildren<QPushButton*>()) {
    if (!button->shortcut().isEmpty()) own.push_back(button->shortcut());
  }
  EXPECT_EQ(own.size(), 10U);
  EXPECT_EQ(std::set<QKeySequence>(own.begin(), own.end()).size(), own.size());
  for (const QKeySequence& shortcut : own) {
    EXPECT_FALSE(others.contains(shortcut)) << shortcut.toString().toStdString();
  }
  EXPECT_TRUE(Button("Cmd_btn_erase")->shortcut().isEmpty());
}

TEST_F(MainWindowTest, PickingAnEntryRunsThePickEvenWhenItIsTheSameOne) {
  form_.SetDeviceIndex(0);
  EXPECT_EQ(log_, Log{});
  QComboBox* selector = window_.DeviceSelector();
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_Down);
  EXPECT_EQ(form_.DeviceIndex(), 1);
  EXPECT_EQ(log_, (Log{"Combo_device_Click"}));
  emit selector->activated(1);
  EXPECT_EQ(log_, (Log{"Combo_device_Click", "Combo_device_Click"}));
}

TEST_F(MainWindowTest, TheMouseWheelDoesNotChangeTheDevice) {
  form_.SetDeviceIndex(0);
  QWheelEvent wheel({5, 5}, window_.DeviceSelector()->mapToGlobal(QPointF(5, 5)), {}, {0, -120},
                    Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(window_.DeviceSelector(), &wheel);
  EXPECT_EQ(form_.DeviceIndex(), 0);
  EXPECT_EQ(log_, Log{});
}

TEST_F(MainWindowTest, ThreeClicksDuringACommandStartNoOther) {
  during_command_ = [this] {
    for (int click = 0; click < 3; ++click) {
      Press("Cmd_btn_program");
      Press("Cmd_btn_open");
      Choose("mnuFileOpen");
      QTest::keyClick(&window_, Qt::Key_F5);
      QTest::keyClick(&window_, Qt::Key_O, Qt::ControlModifier);
    }
  };
  Press("Cmd_btn_program");
  QTest::qWait(200);
  EXPECT_EQ(log_, (Log{"Cmd_btn_program_Click"}));
}

TEST_F(MainWindowTest, AHandlerReachedDuringACommandRefusesByItself) {
  during_command_ = [this] { window_.Run([this] { log_.emplace_back("second"); }); };
  Press("Cmd_btn_program");
  EXPECT_EQ(log_, (Log{"Cmd_btn_program_Click"}));
}

TEST_F(MainWindowTest, ControlsAreDisabledDuringACommandAndEnabledAfterwards) {
  const auto enabled = [this] {
    std::map<std::string, bool> states;
    for (const char* name : kButtons) states[name] = Button(name)->isEnabled();
    for (const char* name : kItems) {
      states[name] = Find<QAction>(window_, name)->isEnabled();
    }
    for (const char* name :
         {"Combo_device", "txtAddress", "txtData", "OptionProgram", "OptionEeprom"}) {
      states[name] = Find<QWidget>(window_, name)->isEnabled();
    }
    return states;
  };
  std::map<std::string, bool> during;
  during_command_ = [&] { during = enabled(); };
  Press("Cmd_btn_open");
  EXPECT_EQ(during.size(), kButtons.size() + kItems.size() + 5);
  for (const auto& [name, is_enabled] : during) EXPECT_FALSE(is_enabled) << name;
  for (const auto& [name, is_enabled] : enabled()) EXPECT_TRUE(is_enabled) << name;
}

TEST_F(MainWindowTest, TheFocusIsBackWhereItWasAfterACommand) {
  Button("Cmd_btn_open")->setFocus();
  Press("Cmd_btn_open");
  EXPECT_EQ(window_.focusWidget(), Button("Cmd_btn_open"));
}

TEST_F(MainWindowTest, AViewThatACommandBringsForwardStaysThere) {
  window_.activateWindow();
  window_.ChildArea()->setActiveSubWindow(window_.ViewOf(screen::View::Eeprom));
  window_.ViewOf(screen::View::Eeprom)->TextControl()->setFocus();
  during_command_ = [this] {
    window_.ViewOf(screen::View::Verify)->show();
    window_.ChildArea()->setActiveSubWindow(window_.ViewOf(screen::View::Verify));
  };
  window_.Run([this] { RunCommand("verify"); });
  EXPECT_EQ(window_.ChildArea()->activeSubWindow(), window_.ViewOf(screen::View::Verify));
}

TEST_F(MainWindowTest, EveryChangeOfTheAddressReadsTheCell) {
  auto* address = Find<QLineEdit>(window_, "txtAddress");
  address->setFocus();
  QTest::keyClicks(address, "1f");
  EXPECT_EQ(address->text(), "1f");
  EXPECT_EQ(log_, (Log{"txtAddress_Change", "txtAddress_Change"}));
  QTest::keyClick(address, Qt::Key_Backspace);
  EXPECT_EQ(address->text(), "1");
  EXPECT_EQ(log_.size(), 3U);
}

TEST_F(MainWindowTest, TypingGoesOnInTheAddressAndNoViewComesForward) {
  window_.activateWindow();
  ViewWindow* verify = window_.ViewOf(screen::View::Verify);
  verify->show();
  window_.ChildArea()->setActiveSubWindow(verify);
  auto* address = Find<QLineEdit>(window_, "txtAddress");
  address->setFocus();
  QTest::keyClicks(address, "12");
  address->setCursorPosition(1);
  QTest::keyClicks(address, "A");
  EXPECT_EQ(address->text(), "1A2");
  EXPECT_EQ(address->cursorPosition(), 2);
  EXPECT_EQ(window_.focusWidget(), address);
  EXPECT_EQ(window_.ChildArea()->activeSubWindow(), verify);
}

TEST_F(MainWindowTest, AChangeOfTheDataOrOfTheMemoryStartsNothing) {
  QTest::keyClicks(Find<QLineEdit>(window_, "txtData"), "12");
  QTest::mouseClick(Find<QRadioButton>(window_, "OptionEeprom"), Qt::LeftButton);
  EXPECT_EQ(log_, Log{});
}

TEST_F(MainWindowTest, TheEditFieldsTakeFourCharactersOfAMonospacedFont) {
  for (const char* name : {"txtAddress", "txtData"}) {
    auto* field = Find<QLineEdit>(window_, name);
    QTest::keyClicks(field, "0123456");
    EXPECT_EQ(field->text(), "0123") << name;
    EXPECT_EQ(field->fontMetrics().horizontalAdvance('1'),
              field->fontMetrics().horizontalAdvance('W'));
    field->setText("FFFF");
    EXPECT_EQ(field->fontMetrics().horizontalAdvance("FFFF"),
              4 * field->fontMetrics().horizontalAdvance('F'));
    EXPECT_GE(field->width(), field->fontMetrics().horizontalAdvance("FFFF") + 10);
  }
}

TEST_F(MainWindowTest, TheHandEditFormShowsAndTellsTheTextsAndTheMemory) {
  HandEditBox& edit = window_.HandEdit();
  EXPECT_EQ(edit.AddressText(), "");
  EXPECT_TRUE(edit.FlashChosen());
  Find<QLineEdit>(window_, "txtAddress")->setText("07FF");
  edit.SetDataText("BEEF");
  EXPECT_EQ(edit.AddressText(), "07FF");
  EXPECT_EQ(edit.DataText(), "BEEF");
  EXPECT_EQ(Find<QLineEdit>(window_, "txtData")->text(), "BEEF");
  Find<QRadioButton>(window_, "OptionEeprom")->click();
  EXPECT_FALSE(edit.FlashChosen());
  Find<QRadioButton>(window_, "OptionProgram")->click();
  EXPECT_TRUE(edit.FlashChosen());
}

TEST_F(MainWindowTest, ADroppedHexFileIsOpenedOnceTheDropIsOver) {
  EXPECT_TRUE(DropFiles(window_, {"/files/a b.HEX"}));
  EXPECT_EQ(log_, Log{});
  QApplication::processEvents();
  EXPECT_EQ(log_, (Log{"drop " + Native("/files/a b.HEX")}));
}

TEST_F(MainWindowTest, OfSeveralDroppedFilesTheFirstHexFileIsOpened) {
  EXPECT_TRUE(DropFiles(window_, {"/files/readme.txt", "/files/b.rom", "/files/c.hex"}));
  QApplication::processEvents();
  EXPECT_EQ(log_, (Log{"drop " + Native("/files/b.rom")}));
}

TEST_F(MainWindowTest, AnotherKindOfFileIsNotTaken) {
  EXPECT_FALSE(DropFiles(window_, {"/files/prog.eep", "/files/hex"}));
  QMimeData remote;
  remote.setUrls({QUrl("https://example.org/prog.hex")});
  EXPECT_FALSE(Drop(window_, remote));
  QMimeData text;
  text.setText("prog.hex");
  EXPECT_FALSE(Drop(window_, text));
  QApplication::processEvents();
  EXPECT_EQ(log_, Log{});
}

TEST_F(MainWindowTest, AFileThatCouldOnlyBeMovedIsNotTaken) {
  QMimeData files;
  files.setUrls({QUrl::fromLocalFile("/files/prog.hex")});
  EXPECT_FALSE(Drop(window_, files, Qt::MoveAction));
}

TEST_F(MainWindowTest, AFileDroppedOnAFieldOrAViewReachesTheWindow) {
  for (const char* name : {"txtAddress", "txtData", "txtPrg", "Combo_device", "lblFileInfo"}) {
    auto* control = Find<QWidget>(window_, name);
    QWidget* target = control;
    if (auto* text = qobject_cast<QTextEdit*>(control)) target = text->viewport();
    log_.clear();
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile("/files/prog.hex")});
    files.setText("/files/prog.hex");
    EXPECT_TRUE(Drop(*target, files)) << name;
    QApplication::processEvents();
    EXPECT_EQ(log_, (Log{"drop " + Native("/files/prog.hex")})) << name;
  }
  EXPECT_EQ(Find<QLineEdit>(window_, "txtAddress")->text(), "");
}

TEST_F(MainWindowTest, ADropDuringACommandIsRefused) {
  during_command_ = [this] { EXPECT_FALSE(DropFiles(window_, {"/files/prog.hex"})); };
  Press("Cmd_btn_program");
  QApplication::processEvents();
  EXPECT_EQ(log_, (Log{"Cmd_btn_program_Click"}));
}

TEST_F(MainWindowTest, AnIdleWindowClosesWithoutAsking) {
  EXPECT_TRUE(window_.close());
  EXPECT_FALSE(window_.isVisible());
  EXPECT_TRUE(boxes_.Questions.empty());
}

TEST_F(MainWindowTest, TheExitItemClosesTheWindow) {
  Choose("mnuFileExit");
  EXPECT_FALSE(window_.isVisible());
}

TEST_F(MainWindowTest, ClosingDuringACommandAsksAndClosesAfterwards) {
  boxes_.Answer = true;
  bool visible_during = false;
  bool stop_requested = false;
  during_command_ = [&] {
    EXPECT_FALSE(window_.close());
    visible_during = window_.isVisible();
    stop_requested = state_.StopRequested;
  };
  Press("Cmd_btn_program");
  ASSERT_EQ(boxes_.Questions.size(), 1U);
  EXPECT_NE(boxes_.Questions[0].find("チップは書き込みの途中"), std::string::npos);
  EXPECT_TRUE(visible_during);
  EXPECT_TRUE(stop_requested);
  EXPECT_FALSE(window_.isVisible());
}

TEST_F(MainWindowTest, ANoToTheQuestionLeavesTheCommandAndTheWindowAlone) {
  boxes_.Answer = false;
  during_command_ = [this] {
    window_.close();
    EXPECT_FALSE(state_.StopRequested);
  };
  Press("Cmd_btn_program");
  EXPECT_EQ(boxes_.Questions.size(), 1U);
  EXPECT_TRUE(window_.isVisible());
  EXPECT_TRUE(Button("Cmd_btn_program")->isEnabled());
}

TEST_F(MainWindowTest, ASecondCloseRequestDuringTheQuestionIsIgnored) {
  boxes_.Answer = true;
  boxes_.WhileAsking = [this] {
    window_.close();
    EXPECT_TRUE(window_.isVisible());
  };
  during_command_ = [this] { window_.close(); };
  Press("Cmd_btn_program");
  EXPECT_EQ(boxes_.Questions.size(), 1U);
  EXPECT_FALSE(window_.isVisible());
}

TEST_F(MainWindowTest, AfterAYesNobodyIsAskedAgain) {
  boxes_.Answer = true;
  during_command_ = [this] {
    window_.close();
    window_.close();
  };
  Press("Cmd_btn_program");
  EXPECT_EQ(boxes_.Questions.size(), 1U);
}

TEST_F(MainWindowTest, TheExitItemWorksDuringACommandLikeClosing) {
  boxes_.Answer = true;
  during_command_ = [this] { Choose("mnuFileExit"); };
  Press("Cmd_btn_program");
  EXPECT_EQ(boxes_.Questions.size(), 1U);
  EXPECT_FALSE(window_.isVisible());
}

TEST_F(MainWindowTest, AnIdleWindowThatNobodyIsAskedAboutClosesAtOnce) {
  window_.CloseUnasked();
  EXPECT_FALSE(window_.isVisible());
  EXPECT_TRUE(boxes_.Questions.empty());
}

TEST_F(MainWindowTest, ClosingUnaskedStopsACommandAndClosesAfterwards) {
  during_command_ = [this] {
    window_.CloseUnasked();
    EXPECT_TRUE(state_.StopRequested);
    EXPECT_TRUE(window_.isVisible());
    // Nor is anybody asked by what follows.
    EXPECT_FALSE(window_.close());
  };
  Press("Cmd_btn_program");
  EXPECT_TRUE(boxes_.Questions.empty());
  EXPECT_FALSE(window_.isVisible());
}

TEST_F(MainWindowTest, NoCommandStartsInAWindowThatClosesUnasked) {
  window_.CloseUnasked();
  log_.clear();
  Choose("mnuFileExit");
  Press("Cmd_btn_program");
  EXPECT_EQ(log_, Log{});
}

TEST_F(MainWindowTest, EveryVisibleControlHasAnObjectNameAndAnAccessibleName) {
  form_.SetMemoryLabels("flash", "eeprom");
  form_.ShowDeviceFrame();
  int seen = 0;
  for (const QWidget* child : window_.findChildren<QWidget*>()) {
    const bool control =
        qobject_cast<const QAbstractButton*>(child) || qobject_cast<const QComboBox*>(child) ||
        qobject_cast<const QLabel*>(child) || qobject_cast<const QTextEdit*>(child) ||
        qobject_cast<const QLineEdit*>(child) || qobject_cast<const QMdiSubWindow*>(child) ||
        qobject_cast<const QMdiArea*>(child) || qobject_cast<const QMenuBar*>(child) ||
        qobject_cast<const QStatusBar*>(child);
    if (!control || !child->isVisible()) continue;
    ++seen;
    EXPECT_FALSE(child->objectName().isEmpty()) << child->metaObject()->className();
    EXPECT_FALSE(child->accessibleName().isEmpty()) << child->objectName().toStdString();
  }
  EXPECT_GE(seen, 31);
}

/// A style asks for wide buttons even around a short text; what matters is that the text fits.
int NeededWidth(const QWidget& widget) {
  constexpr int kPadding = 12;
  const auto* button = qobject_cast<const QPushButton*>(&widget);
  if (!button || !button->icon().isNull()) return widget.minimumSizeHint().width();
  return button->fontMetrics().horizontalAdvance(button->text()) + kPadding;
}

TEST_F(MainWindowTest, AllChildWindowsFitIntoTheirAreaAtTheFirstSize) {
  window_.ViewOf(screen::View::Verify)->show();
  window_.ChildArea()->ShowGuide();
  QApplication::processEvents();
  EXPECT_EQ(window_.size(), QSize(753, 527));
  auto* area = Find<QMdiArea>(window_, "mdiArea");
  EXPECT_FALSE(area->horizontalScrollBar()->isVisible());
  EXPECT_FALSE(area->verticalScrollBar()->isVisible());
  for (const QMdiSubWindow* child : area->subWindowList()) {
    EXPECT_TRUE(child->isVisible());
    EXPECT_TRUE(area->viewport()->rect().contains(child->geometry()))
        << child->objectName().toStdString();
  }
}

TEST_F(MainWindowTest, EverythingLiesInsideTheWindowAtItsFirstSize) {
  form_.SetMemoryLabels("ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word", "EEPROMﾃﾞｰﾀﾒﾓﾘ: 512 byte");
  form_.ShowDeviceFrame();
  QApplication::processEvents();
  EXPECT_EQ(window_.size(), QSize(753, 527));
  const QRect whole = window_.rect();
  for (const char* name :
       {"Cmd_btn_open",   "Cmd_btn_save",  "Cmd_btn_reload",    "Cmd_btn_program", "Cmd_btn_read",
        "Cmd_btn_verify", "Cmd_btn_erase", "Cmd_btn_comselect", "txtAddress",      "txtData",
        "CmdRead",        "CmdWrite",      "OptionProgram",     "OptionEeprom",    "lblAddress",
        "lblData",        "Combo_device",  "Lbl_flash_size",    "Lbl_eeprom_size", "lblFileInfo",
        "frmProgram",     "frmEEprom",     "sbStatusBar_1",     "sbStatusBar_5"}) {
    auto* child = Find<QWidget>(window_, name);
    // What the panel has no room for is scrolled into sight.
    auto* panel = Find<QScrollArea>(window_, "fraSettings");
    if (panel->isAncestorOf(child)) panel->ensureWidgetVisible(child);
    const QRect place(child->mapTo(&window_, QPoint(0, 0)), child->size());
    EXPECT_TRUE(whole.contains(place)) << name;
    if (!qobject_cast<QMdiSubWindow*>(child)) {
      EXPECT_GE(child->width(), NeededWidth(*child)) << name;
      EXPECT_GE(child->height(), child->minimumSizeHint().height()) << name;
    }
  }
  EXPECT_FALSE(window_.ChildArea()->horizontalScrollBar()->isVisible());
  EXPECT_FALSE(window_.ChildArea()->verticalScrollBar()->isVisible());
}

TEST_F(MainWindowTest, MemoryLabelsShowTheirTextsAndTheFrameAppears) {
  EXPECT_FALSE(Find<QFrame>(window_, "fraDeviceInfo")->isVisible());
  form_.SetMemoryLabels("flash  text", "eeprom text");
  form_.ShowDeviceFrame();
  EXPECT_TRUE(Find<QFrame>(window_, "fraDeviceInfo")->isVisible());
  EXPECT_EQ(Find<QLabel>(window_, "Lbl_flash_size")->text(), "flash  text");
  EXPECT_EQ(Find<QLabel>(window_, "Lbl_eeprom_size")->text(), "eeprom text");
}

TEST_F(MainWindowTest, EachStatusPanelShowsItsOwnText) {
  using screen::Panel;
  for (const Panel panel :
       {Panel::Status, Panel::Signature, Panel::BoardVersion, Panel::Port, Panel::Elapsed}) {
    const std::string name = "sbStatusBar_" + std::to_string(static_cast<int>(panel));
    status_bar_.SetPanelText(panel, "text of " + name);
    EXPECT_EQ(Find<QLabel>(window_, name.c_str())->text().toStdString(), "text of " + name);
  }
}

TEST_F(MainWindowTest, ALongStatusTextDoesNotWidenTheWindowAndStaysWholeInItsTip) {
  const std::string text = "Program : /home/user/" + std::string(500, 'x') + ".hex";
  status_bar_.SetPanelText(screen::Panel::Status, text);
  QApplication::processEvents();
  EXPECT_EQ(window_.size(), QSize(753, 527));
  const ElidedLabel* panel = window_.StatusPanel(screen::Panel::Status);
  EXPECT_EQ(panel->text().toStdString(), text);
  EXPECT_EQ(panel->toolTip().toStdString(), text);
}

TEST_F(MainWindowTest, ALongFileInfoBreaksInsideTheWindow) {
  state_.CodeFileName = "/home/user/" + std::string(300, 'x') + ".hex";
  window_.ShowFileInfo();
  auto* info = Find<QLabel>(window_, "lblFileInfo");
  // The change of height passes through several nested layouts, one turn each.
  EXPECT_TRUE(QTest::qWaitFor(
      [info] { return info->height() >= info->heightForWidth(info->width()); }, 2000));
  EXPECT_GT(info->height(), 4 * info->fontMetrics().height());
  EXPECT_EQ(window_.size(), QSize(753, 527));
}

TEST_F(MainWindowTest, TilingPutsTheShownViewsOneAboveTheOther) {
  Choose("mnuWindowTileHorizontal");
  const QRect flash = window_.ViewOf(screen::View::Flash)->geometry();
  const QRect eeprom = window_.ViewOf(screen::View::Eeprom)->geometry();
  EXPECT_EQ(flash.bottom() + 1, eeprom.top());
  EXPECT_EQ(flash.width(), window_.ChildArea()->viewport()->width());
  EXPECT_EQ(eeprom.bottom() + 1, window_.ChildArea()->viewport()->height());
}

TEST_F(MainWindowTest, TilingPutsTheShownViewsSideBySide) {
  Choose("mnuWindowTileVertical");
  const QRect flash = window_.ViewOf(screen::View::Flash)->geometry();
  const QRect eeprom = window_.ViewOf(screen::View::Eeprom)->geometry();
  EXPECT_EQ(flash.right() + 1, eeprom.left());
  EXPECT_EQ(flash.height(), window_.ChildArea()->viewport()->height());
}

TEST_F(MainWindowTest, CascadingKeepsTheViewsInsideTheArea) {
  Choose("mnuWindowCascade");
  const QRect area(QPoint(0, 0), window_.ChildArea()->viewport()->size());
  const QRect flash = window_.ViewOf(screen::View::Flash)->geometry();
  const QRect eeprom = window_.ViewOf(screen::View::Eeprom)->geometry();
  EXPECT_TRUE(area.contains(flash));
  EXPECT_TRUE(area.contains(eeprom));
  EXPECT_GT(eeprom.top(), flash.top());
}

TEST_F(MainWindowTest, AClosedViewComesBackAtItsDefaultPlace) {
  ViewWindow* view = window_.ViewOf(screen::View::Eeprom);
  view->setGeometry(10, 10, 200, 200);
  view->close();
  EXPECT_FALSE(view->isVisible());
  Choose("mmuOpenEEpromWindow");
  EXPECT_TRUE(view->isVisible());
  EXPECT_EQ(view->geometry(), QRect(3, 273, 360, 133));
}

}  // namespace
}  // namespace fenwright::ui
