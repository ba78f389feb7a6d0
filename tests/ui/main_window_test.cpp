#include "ui/main_window.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include "core/build_info.h"
#include "ui/elided_label.h"
#include "ui/qt_device_form.h"
#include "ui/qt_status_bar.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

class MainWindowTest : public ::testing::Test {
 protected:
  MainWindowTest() {
    window_.SetMessageBoxes(boxes_);
    window_.SetCommands({.Open = [this] { RunCommand("open"); },
                         .Program = [this] { RunCommand("program"); },
                         .PickDevice = [this] { RunCommand("pick"); },
                         .AfterCommand = [this] { log_.emplace_back("after"); }});
    form_.SetDevices({"ATtiny12L", "ATtiny15L"});
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
  MainWindow window_{state_};
  QtDeviceForm form_{window_};
  QtStatusBar status_bar_{window_};
  AnsweredBoxes boxes_;
  std::vector<std::string> log_;
  std::function<void()> during_command_;
};

using Log = std::vector<std::string>;

TEST_F(MainWindowTest, TheCaptionNamesProgramAndVersion) {
  EXPECT_EQ(window_.windowTitle().toStdString(),
            "New Fenwright Version " + std::string(core::kVersion));
}

TEST_F(MainWindowTest, ASimulatedRunSaysSoInTheCaption) {
  window_.MarkSimulated();
  EXPECT_TRUE(window_.windowTitle().endsWith(" [シミュレーション]"));
}

TEST_F(MainWindowTest, MenusAreCaptionedAsTheyShallBe) {
  const std::vector<std::pair<const char*, const char*>> captions{
      {"mnuFileOpen", "コード/データファイルを開く(&O)"},
      {"mnuFileExit", "終了(&X)"},
      {"mmuOpenProgramWindow", "プログラムメモリウインドウを開く"},
      {"mmuOpenEEpromWindow", "EEPROMデータメモリウインドウを開く"},
      {"mnuWindowCascade", "重ねて表示(&C)"},
      {"mnuWindowTileHorizontal", "上下に並べて表示(&H)"},
      {"mnuWindowTileVertical", "左右に並べて表示(&V)"}};
  for (const auto& [name, caption] : captions) {
    EXPECT_EQ(Find<QAction>(window_, name)->text(), caption);
  }
  EXPECT_EQ(Find<QMenu>(window_, "mnuFile")->title(), "ファイル(&F)");
  EXPECT_EQ(Find<QMenu>(window_, "mnuWindow")->title(), "ウインドウ(&W)");
}

TEST_F(MainWindowTest, ButtonsMenuAndShortcutsRunTheirCommands) {
  Press("Cmd_btn_open");
  Press("Cmd_btn_program");
  Choose("mnuFileOpen");
  EXPECT_EQ(log_, (Log{"open", "after", "program", "after", "open", "after"}));
  log_.clear();
  QTest::keyClick(&window_, Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(log_, (Log{"open", "after"}));
  // The button shows for a moment that it was pressed.
  QTest::keyClick(&window_, Qt::Key_F5);
  EXPECT_TRUE(QTest::qWaitFor([this] { return log_.size() == 4; }, 2000));
  EXPECT_EQ(log_, (Log{"open", "after", "program", "after"}));
}

TEST_F(MainWindowTest, PickingAnEntryRunsThePickEvenWhenItIsTheSameOne) {
  form_.SetDeviceIndex(0);
  EXPECT_EQ(log_, Log{});
  QComboBox* selector = window_.DeviceSelector();
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_Down);
  EXPECT_EQ(form_.DeviceIndex(), 1);
  EXPECT_EQ(log_, (Log{"pick", "after"}));
  emit selector->activated(1);
  EXPECT_EQ(log_, (Log{"pick", "after", "pick", "after"}));
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
  EXPECT_EQ(log_, (Log{"program", "after"}));
}

TEST_F(MainWindowTest, AHandlerReachedDuringACommandRefusesByItself) {
  during_command_ = [this] { window_.Run([this] { log_.emplace_back("second"); }); };
  Press("Cmd_btn_program");
  EXPECT_EQ(log_, (Log{"program", "after"}));
}

TEST_F(MainWindowTest, ControlsAreDisabledDuringACommandAndEnabledAfterwards) {
  const auto enabled = [this] {
    return std::vector<bool>{
        Button("Cmd_btn_open")->isEnabled(), Button("Cmd_btn_program")->isEnabled(),
        window_.DeviceSelector()->isEnabled(), Find<QAction>(window_, "mnuFileOpen")->isEnabled()};
  };
  std::vector<bool> during;
  during_command_ = [&] { during = enabled(); };
  Press("Cmd_btn_open");
  EXPECT_EQ(during, std::vector<bool>(4, false));
  EXPECT_EQ(enabled(), std::vector<bool>(4, true));
}

TEST_F(MainWindowTest, TheFocusIsBackWhereItWasAfterACommand) {
  Button("Cmd_btn_open")->setFocus();
  Press("Cmd_btn_open");
  EXPECT_EQ(window_.focusWidget(), Button("Cmd_btn_open"));
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
    EXPECT_FALSE(window_.MayEndSession());
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

TEST_F(MainWindowTest, TheSessionMayEndWhileNothingRuns) {
  EXPECT_TRUE(window_.MayEndSession());
  EXPECT_TRUE(boxes_.Questions.empty());
}

TEST_F(MainWindowTest, TheEndOfTheSessionWaitsForACommandLikeClosing) {
  boxes_.Answer = true;
  during_command_ = [this] { EXPECT_FALSE(window_.MayEndSession()); };
  Press("Cmd_btn_program");
  EXPECT_EQ(boxes_.Questions.size(), 1U);
  EXPECT_FALSE(window_.isVisible());
}

TEST_F(MainWindowTest, EveryVisibleControlHasAnObjectNameAndAnAccessibleName) {
  form_.SetMemoryLabels("flash", "eeprom");
  form_.ShowDeviceFrame();
  int seen = 0;
  for (const QWidget* child : window_.findChildren<QWidget*>()) {
    const bool control =
        qobject_cast<const QAbstractButton*>(child) || qobject_cast<const QComboBox*>(child) ||
        qobject_cast<const QLabel*>(child) || qobject_cast<const QPlainTextEdit*>(child) ||
        qobject_cast<const QMdiSubWindow*>(child) || qobject_cast<const QMdiArea*>(child) ||
        qobject_cast<const QMenuBar*>(child) || qobject_cast<const QStatusBar*>(child);
    if (!control || !child->isVisible()) continue;
    ++seen;
    EXPECT_FALSE(child->objectName().isEmpty()) << child->metaObject()->className();
    EXPECT_FALSE(child->accessibleName().isEmpty()) << child->objectName().toStdString();
  }
  EXPECT_GE(seen, 18);
}

TEST_F(MainWindowTest, EveryMenuItemHasAName) {
  for (const char* menu : {"mnuFile", "mnuWindow"}) {
    for (const QAction* action : Find<QMenu>(window_, menu)->actions()) {
      EXPECT_FALSE(action->objectName().isEmpty()) << action->text().toStdString();
    }
  }
}

TEST_F(MainWindowTest, EverythingLiesInsideTheWindowAtItsFirstSize) {
  form_.SetMemoryLabels("ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word", "EEPROMﾃﾞｰﾀﾒﾓﾘ: 512 byte");
  form_.ShowDeviceFrame();
  QApplication::processEvents();
  EXPECT_EQ(window_.size(), QSize(753, 527));
  const QRect whole = window_.rect();
  for (const char* name :
       {"Cmd_btn_open", "Cmd_btn_program", "Combo_device", "Lbl_flash_size", "Lbl_eeprom_size",
        "lblFileInfo", "frmProgram", "frmEEprom", "sbStatusBar_1", "sbStatusBar_5"}) {
    auto* child = Find<QWidget>(window_, name);
    const QRect place(child->mapTo(&window_, QPoint(0, 0)), child->size());
    EXPECT_TRUE(whole.contains(place)) << name;
    if (!qobject_cast<QMdiSubWindow*>(child)) {
      EXPECT_GE(child->width(), child->minimumSizeHint().width()) << name;
      EXPECT_GE(child->height(), child->minimumSizeHint().height()) << name;
    }
  }
  EXPECT_FALSE(window_.ChildArea()->horizontalScrollBar()->isVisible());
  EXPECT_FALSE(window_.ChildArea()->verticalScrollBar()->isVisible());
}

TEST_F(MainWindowTest, MemoryLabelsShowTheirTextsAndTheFrameAppears) {
  EXPECT_FALSE(window_.DeviceFrame()->isVisible());
  form_.SetMemoryLabels("flash  text", "eeprom text");
  form_.ShowDeviceFrame();
  EXPECT_TRUE(window_.DeviceFrame()->isVisible());
  EXPECT_EQ(window_.FlashSizeLabel()->text(), "flash  text");
  EXPECT_EQ(window_.EepromSizeLabel()->text(), "eeprom text");
}

TEST_F(MainWindowTest, EachStatusPanelShowsItsOwnText) {
  using platform::Panel;
  for (const Panel panel :
       {Panel::Status, Panel::Signature, Panel::BoardVersion, Panel::Port, Panel::Elapsed}) {
    const std::string name = "sbStatusBar_" + std::to_string(static_cast<int>(panel));
    status_bar_.SetPanelText(panel, "text of " + name);
    EXPECT_EQ(Find<QLabel>(window_, name.c_str())->text().toStdString(), "text of " + name);
  }
}

TEST_F(MainWindowTest, ALongStatusTextDoesNotWidenTheWindowAndStaysWholeInItsTip) {
  const std::string text = "Program : /home/user/" + std::string(500, 'x') + ".hex";
  status_bar_.SetPanelText(platform::Panel::Status, text);
  QApplication::processEvents();
  EXPECT_EQ(window_.size(), QSize(753, 527));
  const ElidedLabel* panel = window_.StatusPanel(platform::Panel::Status);
  EXPECT_EQ(panel->text().toStdString(), text);
  EXPECT_EQ(panel->toolTip().toStdString(), text);
}

TEST_F(MainWindowTest, ALongFileInfoBreaksInsideTheWindow) {
  window_.SetFileInfo("/home/user/" + QString(300, 'x') + ".hex\n使用量 512 / 512 word (100 %)");
  auto* info = Find<QLabel>(window_, "lblFileInfo");
  // The change of height passes through several nested layouts, one turn each.
  EXPECT_TRUE(QTest::qWaitFor(
      [info] { return info->height() >= info->heightForWidth(info->width()); }, 2000));
  EXPECT_GT(info->height(), 4 * info->fontMetrics().height());
  EXPECT_EQ(window_.size(), QSize(753, 527));
}

TEST_F(MainWindowTest, TilingPutsTheShownViewsOneAboveTheOther) {
  Choose("mnuWindowTileHorizontal");
  const QRect flash = window_.ViewOf(platform::View::Flash)->geometry();
  const QRect eeprom = window_.ViewOf(platform::View::Eeprom)->geometry();
  EXPECT_EQ(flash.bottom() + 1, eeprom.top());
  EXPECT_EQ(flash.width(), window_.ChildArea()->viewport()->width());
  EXPECT_EQ(eeprom.bottom() + 1, window_.ChildArea()->viewport()->height());
}

TEST_F(MainWindowTest, TilingPutsTheShownViewsSideBySide) {
  Choose("mnuWindowTileVertical");
  const QRect flash = window_.ViewOf(platform::View::Flash)->geometry();
  const QRect eeprom = window_.ViewOf(platform::View::Eeprom)->geometry();
  EXPECT_EQ(flash.right() + 1, eeprom.left());
  EXPECT_EQ(flash.height(), window_.ChildArea()->viewport()->height());
}

TEST_F(MainWindowTest, CascadingKeepsTheViewsInsideTheArea) {
  Choose("mnuWindowCascade");
  const QRect area(QPoint(0, 0), window_.ChildArea()->viewport()->size());
  const QRect flash = window_.ViewOf(platform::View::Flash)->geometry();
  const QRect eeprom = window_.ViewOf(platform::View::Eeprom)->geometry();
  EXPECT_TRUE(area.contains(flash));
  EXPECT_TRUE(area.contains(eeprom));
  EXPECT_GT(eeprom.top(), flash.top());
}

TEST_F(MainWindowTest, AClosedViewComesBackAtItsDefaultPlace) {
  ViewWindow* view = window_.ViewOf(platform::View::Eeprom);
  view->setGeometry(10, 10, 200, 200);
  view->close();
  EXPECT_FALSE(view->isVisible());
  Choose("mmuOpenEEpromWindow");
  EXPECT_TRUE(view->isVisible());
  EXPECT_EQ(view->geometry(), QRect(3, 273, 360, 133));
}

}  // namespace
}  // namespace fenwright::ui
