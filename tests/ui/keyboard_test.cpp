// What a user without a mouse, or with a screen reader, meets: all windows of the program at once.

#include <map>
#include <set>
#include <string>
#include <vector>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QRadioButton>
#include <QStatusBar>
#include <QTest>
#include <QTextEdit>
#include <gtest/gtest.h>

#include "ui/about_dialog.h"
#include "ui/guide_window.h"
#include "ui/socket_drawing.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

/// All windows of a run.
class AllWindows : public ::testing::Test {
 protected:
  AllWindows() {
    bench_.Start();
    Window().ChildArea()->ShowGuide();
    QApplication::processEvents();
  }
  MainWindow& Window() { return bench_.Run.Window(); }

  WindowBench bench_;
};

template <typename... Controls>
bool IsOneOf(const QWidget& widget) {
  return (qobject_cast<const Controls*>(&widget) || ...);
}

/// A control that a user meets. Qt's own parts of a control are none.
bool IsControl(const QWidget& widget) {
  if (widget.objectName().startsWith("qt_")) return false;
  if (qobject_cast<const QMenu*>(&widget) && !widget.objectName().startsWith('m')) return false;
  if (qobject_cast<const QMdiSubWindow*>(widget.parent()) &&
      !qobject_cast<const QMdiArea*>(&widget) && qobject_cast<const QAbstractButton*>(&widget)) {
    return false;
  }
  return IsOneOf<QAbstractButton, QComboBox, QDialog, QGroupBox, QLabel, QLineEdit, QMdiArea,
                 QMdiSubWindow, QMenu, QMenuBar, QTextEdit, QProgressBar, QStatusBar,
                 SocketDrawing>(widget);
}

TEST_F(AllWindows, EveryControlOfEveryWindowHasAnObjectNameAndAnAccessibleName) {
  std::set<std::string> seen;
  for (const QWidget* widget : Window().findChildren<QWidget*>()) {
    if (!IsControl(*widget)) continue;
    // The list of a selector belongs to the selector.
    if (widget->parent() && widget->parent()->inherits("QComboBoxPrivateContainer")) continue;
    EXPECT_FALSE(widget->objectName().isEmpty()) << widget->metaObject()->className();
    EXPECT_FALSE(widget->accessibleName().isEmpty())
        << widget->metaObject()->className() << ' ' << widget->objectName().toStdString();
    seen.insert(widget->objectName().toStdString());
  }
  for (const char* name :
       {"frmIndex",     "picSocket",      "frmAbout",      "picIcon",       "lblTitle",
        "lblVersion",   "lblDescription", "lblDisclaimer", "Label1",        "Command1",
        "cmdOK",        "frmProgram",     "txtPrg",        "frmEEprom",     "txtEEp",
        "frmVerify",    "rtVerify",       "frmMsg",        "mnuFile",       "mmuComCheck",
        "mnuWindow",    "mnuHelp",        "sbStatusBar",   "Combo_device",  "txtAddress",
        "txtData",      "CmdRead",        "CmdWrite",      "OptionProgram", "OptionEeprom",
        "Cmd_btn_open", "Cmd_btn_erase"}) {
    EXPECT_TRUE(seen.contains(name)) << name;
  }
}

TEST_F(AllWindows, NoTwoControlsShareAnObjectNameWithinAWindow) {
  std::map<const QWidget*, std::set<std::string>> names;
  for (const QWidget* widget : Window().findChildren<QWidget*>()) {
    if (!IsControl(*widget) || widget->objectName().isEmpty()) continue;
    const std::string name = widget->objectName().toStdString();
    EXPECT_TRUE(names[widget->window()].insert(name).second) << name;
  }
  EXPECT_GE(names.size(), 3U);
}

/// What Tab reaches in the active window, in its order, from the first control of the window on.
std::vector<QWidget*> TabStops(QWidget& window, const char* first) {
  std::vector<QWidget*> stops;
  Find<QWidget>(window, first)->setFocus();
  for (int step = 0; step < 60 && window.focusWidget(); ++step) {
    QWidget* focus = window.focusWidget();
    if (!stops.empty() && focus == stops.front()) break;
    stops.push_back(focus);
    QTest::keyClick(focus, Qt::Key_Tab);
  }
  return stops;
}

QRect PlaceIn(const QWidget& window, const QWidget& widget) {
  return {widget.mapTo(&window, QPoint(0, 0)), widget.size()};
}

/// The eye goes on to the right or down, and starts again at the top in a column further right.
bool FollowsTheEye(const QRect& from, const QRect& to) {
  const bool same_row = to.center().y() >= from.top() && to.center().y() <= from.bottom();
  if (same_row) return to.left() > from.left();
  return to.top() > from.top() || to.left() >= from.right();
}

TEST_F(AllWindows, TheTabKeyReachesEveryControlOfTheMainWindowInTheOrderOfTheEye) {
  const std::vector<QWidget*> stops = TabStops(Window(), "Cmd_btn_open");
  EXPECT_LT(stops.size(), 60U);
  for (std::size_t index = 1; index < stops.size(); ++index) {
    const QWidget& from = *stops.at(index - 1);
    const QWidget& to = *stops.at(index);
    EXPECT_TRUE(FollowsTheEye(PlaceIn(Window(), from), PlaceIn(Window(), to)))
        << from.objectName().toStdString() << " -> " << to.objectName().toStdString();
  }
  for (const QWidget* widget : Window().findChildren<QWidget*>()) {
    if (widget->window() != &Window() || !IsControl(*widget) || !widget->isVisible()) continue;
    if (!widget->isEnabled() || (widget->focusPolicy() & Qt::TabFocus) == 0) continue;
    const auto* option = qobject_cast<const QRadioButton*>(widget);
    if (option && !option->isChecked()) continue;  // the arrow keys go there
    EXPECT_NE(std::ranges::find(stops, widget), stops.end()) << widget->objectName().toStdString();
  }
}

TEST_F(AllWindows, TheTabKeyReachesTheButtonOfTheReportBehindTheSettings) {
  bench_.Press("Cmd_btn_verify");
  bench_.Run.MessageDialog().Close();
  const std::vector<QWidget*> stops = TabStops(Window(), "Cmd_btn_open");
  const auto show = std::ranges::find(stops, Find<QWidget>(Window(), "cmdShowReport"));
  ASSERT_NE(show, stops.end());
  EXPECT_GT(show, std::ranges::find(stops, Find<QWidget>(Window(), "CmdWrite")));
}

TEST_F(AllWindows, TabGoesThroughTheActiveChildWindowAndLeavesItOnBothSides) {
  for (const char* name : {"frmProgram", "frmEEprom", "frmIndex"}) {
    auto* child = Find<QMdiSubWindow>(Window(), name);
    Window().ChildArea()->setActiveSubWindow(child);
    const std::vector<QWidget*> stops = TabStops(Window(), "Cmd_btn_open");
    EXPECT_NE(std::ranges::find(stops, child->widget()), stops.end()) << name;
    EXPECT_EQ(Window().ChildArea()->activeSubWindow(), child);
    child->widget()->setFocus();
    QTest::keyClick(child->widget(), Qt::Key_Tab);
    EXPECT_EQ(Window().focusWidget(), Window().DeviceSelector()) << name;
    QTest::keyClick(Window().DeviceSelector(), Qt::Key_Backtab);
    EXPECT_EQ(Window().focusWidget(), child->widget()) << name;
    QTest::keyClick(child->widget(), Qt::Key_Backtab);
    EXPECT_TRUE(Window().focusWidget()->objectName().startsWith("Cmd_btn_")) << name;
  }
}

TEST_F(AllWindows, EveryMenuOpensWithItsAccessKey) {
  const std::map<Qt::Key, const char*> menus{{Qt::Key_F, "mnuFile"},
                                             {Qt::Key_T, "mmuComCheck"},
                                             {Qt::Key_W, "mnuWindow"},
                                             {Qt::Key_H, "mnuHelp"}};
  Window().activateWindow();
  for (const auto& [key, name] : menus) {
    QTest::keyClick(&Window(), key, Qt::AltModifier);
    auto* menu = Find<QMenu>(Window(), name);
    EXPECT_TRUE(menu->isVisible()) << name;
    QTest::keyClick(menu, Qt::Key_Escape);
    QTest::keyClick(Window().menuBar(), Qt::Key_Escape);
    EXPECT_FALSE(menu->isVisible()) << name;
  }
}

TEST_F(AllWindows, TheArrowKeysReachTheReloadItemOfTheBar) {
  Window().menuBar()->setFocus();
  Window().menuBar()->setActiveAction(Find<QAction>(Window(), "mnuFile"));
  QTest::keyClick(Window().menuBar(), Qt::Key_Left);
  EXPECT_EQ(Window().menuBar()->activeAction(), Find<QAction>(Window(), "mnuReLoad"));
}

}  // namespace
}  // namespace fenwright::ui
