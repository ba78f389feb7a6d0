#include <map>
#include <string>
#include <vector>

#include <QAction>
#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QTest>
#include <gtest/gtest.h>

#include "ui/elided_label.h"
#include "ui/entry_names.h"
#include "ui/guide_window.h"
#include "ui/main_window.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

/// Records the commands that the window's controls start.
class MenuTree : public ::testing::Test {
 protected:
  MenuTree() {
    LogStarts(window_, [this](const std::string& name) { log_.push_back(name); });
    window_.show();
    QApplication::processEvents();
  }

  void Choose(const char* item) { Find<QAction>(window_, item)->trigger(); }
  ViewWindow* Flash() { return window_.ViewOf(screen::View::Flash); }
  ViewWindow* Eeprom() { return window_.ViewOf(screen::View::Eeprom); }

  core::AppState state_;
  testing::FakeTextFiles files_;
  platform::Cp932CodePage code_page_;
  MainWindow window_{state_, files_, code_page_};
  std::vector<std::string> log_;
};

using Log = std::vector<std::string>;

/// "menu", "item" or "-" for a separator; then name and caption.
struct Row {
  std::string Kind;
  std::string Name;
  std::string Caption;
  friend bool operator==(const Row&, const Row&) = default;
  friend void PrintTo(const Row& row, std::ostream* out) {
    *out << row.Kind << ' ' << row.Name << ' ' << row.Caption;
  }
};

std::vector<Row> Rows(const MainWindow& window) {
  std::vector<Row> rows;
  for (const QAction* top : window.menuBar()->actions()) {
    if (!top->menu()) {
      rows.push_back({"bar item", top->objectName().toStdString(), top->text().toStdString()});
      continue;
    }
    rows.push_back({"menu", top->menu()->objectName().toStdString(), top->text().toStdString()});
    for (const QAction* item : top->menu()->actions()) {
      rows.push_back({item->isSeparator() ? "-" : "item", item->objectName().toStdString(),
                      item->text().toStdString()});
      EXPECT_EQ(item->menu(), nullptr);
    }
  }
  return rows;
}

TEST_F(MenuTree, EveryMenuItemAndSeparatorHasItsNameItsCaptionAndItsPlace) {
  const std::vector<Row> expected{
      {"menu", "mnuFile", "ファイル(&F)"},
      {"item", "mnuFileOpen", "コード/データファイルを開く(&O)"},
      {"-", "mnuFileBarx", ""},
      {"item", "mnuFileOpenCode", "コードファイルを開く"},
      {"item", "mnuFileOpenData", "データファイルを開く"},
      {"-", "mnuFileBarxxx", ""},
      {"item", "mnuFileSave", "上書き保存(&S)"},
      {"-", "mnuFileBar2", ""},
      {"item", "mnuFileSaveAs", "コード/データファイルを別名で保存(&A)"},
      {"item", "mnuFileSaveAsCode", "コードファイルを別名で保存"},
      {"item", "mnuFileSaveAsData", "データファイルを別名で保存"},
      {"-", "mnuFileBarz", ""},
      {"item", "mnuFileExit", "終了(&X)"},
      {"menu", "mmuComCheck", "オプション(&T)"},
      {"item", "mmuCominucation", "COMポート選択(&C)"},
      {"item", "mnuPC_buffer_clear", "PCバッファのクリア(%T)"},
      {"menu", "mnuWindow", "ウインドウ(&W)"},
      {"item", "mmudeviceIndex", "デバイスインデックスウインドウを開く"},
      {"item", "mmuWindowReDrow", "ウインドウの再整列"},
      {"item", "mmuOpenSettingWindow", "設定ウインドウを開く"},
      {"item", "mmuOpenProgramWindow", "プログラムメモリウインドウを開く"},
      {"item", "mmuOpenEEpromWindow", "EEPROMデータメモリウインドウを開く"},
      {"-", "mnuWindowBar1", ""},
      {"item", "mnuWindowCascade", "重ねて表示(&C)"},
      {"item", "mnuWindowTileHorizontal", "上下に並べて表示(&H)"},
      {"item", "mnuWindowTileVertical", "左右に並べて表示(&V)"},
      {"item", "mnuWindowArrangeIcons", "アイコンの整列(&A)"},
      {"menu", "mnuHelp", "ヘルプ(&H)"},
      {"item", "mmuIndex", "デバイスの挿入位置について(&8)"},
      {"-", "mnuHelpBar1", ""},
      {"item", "mnuFirmwareUpdate", "ファームウエアのアップデート"},
      {"-", "mnuHelpBar2", ""},
      {"item", "mnuHelpSub", "ヘルプ(&H)"},
      {"item", "mnuHelpAbout", "バージョン情報(&A)"},
      {"bar item", "mnuReLoad", "【HEXファイルの再ロード】"},
  };
  EXPECT_EQ(Rows(window_), expected);
}

TEST_F(MenuTree, EveryItemThatIsACommandStartsThatCommand) {
  for (const std::string item : {"mnuFileOpen", "mnuFileOpenCode", "mnuFileOpenData", "mnuFileSave",
                                 "mnuFileSaveAs", "mnuFileSaveAsCode", "mnuFileSaveAsData",
                                 "mmuCominucation", "mnuPC_buffer_clear", "mnuReLoad"}) {
    log_.clear();
    Choose(item.c_str());
    EXPECT_EQ(log_, Log{item + "_Click"});
  }
  const std::map<const char*, Log> actions{{"mnuFirmwareUpdate", {"action UpdateFirmware"}},
                                           {"mnuHelpSub", {"action OpenManual"}},
                                           {"mnuHelpAbout", {"action ShowAbout"}}};
  for (const auto& [item, expected] : actions) {
    log_.clear();
    Choose(item);
    EXPECT_EQ(log_, expected) << item;
  }
  for (const char* item : {"mmudeviceIndex", "mmuIndex"}) {
    window_.Guide().hide();
    Choose(item);
    EXPECT_TRUE(window_.Guide().isVisible()) << item;
  }
}

TEST_F(MenuTree, TheItemsOfTheWindowMenuAndTheExitStartNoCommand) {
  for (const char* item : {"mmuWindowReDrow", "mmuOpenSettingWindow", "mmuOpenProgramWindow",
                           "mmuOpenEEpromWindow", "mnuWindowCascade", "mnuWindowTileHorizontal",
                           "mnuWindowTileVertical", "mnuWindowArrangeIcons", "mnuFileExit"}) {
    Choose(item);
    EXPECT_EQ(log_, Log{}) << item;
  }
  EXPECT_FALSE(window_.isVisible());
}

TEST_F(MenuTree, TheClearItemHasNoAccessKey) {
  const QAction* item = Find<QAction>(window_, "mnuPC_buffer_clear");
  EXPECT_TRUE(QKeySequence::mnemonic(item->text()).isEmpty());
}

TEST_F(MenuTree, NoTwoItemsOfAMenuShareAnAccessKey) {
  std::vector<QList<QAction*>> lists{window_.menuBar()->actions()};
  for (const QAction* top : window_.menuBar()->actions()) {
    if (top->menu()) lists.push_back(top->menu()->actions());
  }
  ASSERT_EQ(lists.size(), 5U);
  for (const QList<QAction*>& items : lists) {
    std::map<QString, QString> keys;
    for (const QAction* item : items) {
      const QKeySequence key = QKeySequence::mnemonic(item->text());
      if (key.isEmpty()) continue;
      EXPECT_FALSE(keys.contains(key.toString())) << item->text().toStdString();
      keys[key.toString()] = item->text();
    }
  }
}

TEST_F(MenuTree, TheHelpKeyAsksForTheHelpContents) {
  QTest::keyClick(&window_, Qt::Key_F1);
  EXPECT_EQ(log_, (Log{"action ShowHelpContents"}));
}

TEST_F(MenuTree, AClickOnAPanelThatNamesAComPortOpensTheChoiceOfPortWithoutATraceLine) {
  for (int panel = 1; panel <= 5; ++panel) {
    ElidedLabel* label = window_.StatusPanel(static_cast<screen::Panel>(panel));
    log_.clear();
    label->SetText("COM3");
    QTest::mouseClick(label, Qt::LeftButton);
    EXPECT_EQ(log_, (Log{"Cmd_btn_comselect_Click"})) << panel;
  }
}

TEST_F(MenuTree, AClickOnAnyOtherPanelDoesNothing) {
  for (const char* text : {"", "バッファーをクリアしました。", "com3", " COM3", "CO"}) {
    window_.StatusPanel(screen::Panel::Port)->SetText(text);
    QTest::mouseClick(window_.StatusPanel(screen::Panel::Port), Qt::LeftButton);
  }
  window_.StatusPanel(screen::Panel::Port)->SetText("COM3");
  QTest::mouseClick(window_.StatusPanel(screen::Panel::Port), Qt::RightButton);
  EXPECT_EQ(log_, Log{});
}

TEST_F(MenuTree, NeitherMenuNorPanelStartsACommandWhileOneRuns) {
  window_.StatusPanel(screen::Panel::Port)->SetText("COM3");
  window_.Run([this] {
    state_.CommandRunning = true;
    for (const char* item : {"mmuCominucation", "mnuPC_buffer_clear", "mnuFirmwareUpdate",
                             "mnuReLoad", "mnuFileOpen"}) {
      Choose(item);
      EXPECT_FALSE(Find<QAction>(window_, item)->isEnabled()) << item;
    }
    QTest::mouseClick(window_.StatusPanel(screen::Panel::Port), Qt::LeftButton);
    QTest::keyClick(&window_, Qt::Key_F1);
    state_.CommandRunning = false;
  });
  EXPECT_EQ(log_, Log{});
  EXPECT_TRUE(Find<QAction>(window_, "mmuCominucation")->isEnabled());
}

TEST_F(MenuTree, GuideManualAndAboutBoxCanBeHadWhileACommandRuns) {
  window_.Run([this] {
    state_.CommandRunning = true;
    for (const char* item : {"mmudeviceIndex", "mmuIndex"}) {
      window_.Guide().hide();
      EXPECT_TRUE(Find<QAction>(window_, item)->isEnabled()) << item;
      Choose(item);
      EXPECT_TRUE(window_.Guide().isVisible()) << item;
    }
    for (const char* item : {"mnuHelpSub", "mnuHelpAbout"}) {
      EXPECT_TRUE(Find<QAction>(window_, item)->isEnabled()) << item;
      Choose(item);
    }
    EXPECT_TRUE(state_.CommandRunning);
    state_.CommandRunning = false;
  });
  EXPECT_EQ(log_, (Log{"action OpenManual", "action ShowAbout"}));
}

TEST_F(MenuTree, EachViewOpensAtItsDefaultPlace) {
  for (ViewWindow* view : {Flash(), Eeprom()}) {
    view->setGeometry(20, 20, 150, 150);
    view->close();
  }
  Choose("mmuOpenProgramWindow");
  EXPECT_TRUE(Flash()->isVisible());
  EXPECT_FALSE(Eeprom()->isVisible());
  EXPECT_EQ(Flash()->geometry(), QRect(3, 3, 360, 267));
  Choose("mmuOpenEEpromWindow");
  EXPECT_TRUE(Eeprom()->isVisible());
  EXPECT_EQ(Eeprom()->geometry(), QRect(3, 273, 360, 133));
}

TEST_F(MenuTree, AMinimisedViewOpensAtItsDefaultPlaceToo) {
  Flash()->showMinimized();
  Choose("mmuOpenProgramWindow");
  EXPECT_FALSE(Flash()->isMinimized());
  EXPECT_EQ(Flash()->geometry(), QRect(3, 3, 360, 267));
}

TEST_F(MenuTree, TheSettingsAreaComesBackWhenItWasPushedAside) {
  auto* selector = Find<QWidget>(window_, "Combo_device");
  auto* columns = Find<QSplitter>(window_, "splColumns");
  columns->setSizes({columns->width(), 0});
  EXPECT_TRUE(selector->visibleRegion().isEmpty());
  Choose("mmuOpenSettingWindow");
  EXPECT_FALSE(selector->visibleRegion().isEmpty());
  EXPECT_EQ(columns->sizes().at(1), 368);
  EXPECT_TRUE(selector->hasFocus());
}

TEST_F(MenuTree, TheRearrangementOpensSettingsProgramAndEepromInThisOrder) {
  auto* columns = Find<QSplitter>(window_, "splColumns");
  columns->setSizes({columns->width(), 0});
  Flash()->close();
  Eeprom()->setGeometry(50, 50, 100, 100);
  std::vector<QString> activated;
  QObject::connect(window_.ChildArea(), &QMdiArea::subWindowActivated, &window_,
                   [&activated](const QMdiSubWindow* child) {
                     if (child) activated.push_back(child->objectName());
                   });
  window_.ChildArea()->setActiveSubWindow(window_.ViewOf(screen::View::Eeprom));
  activated.clear();
  Choose("mmuWindowReDrow");
  EXPECT_EQ(columns->sizes().at(1), 368);
  EXPECT_EQ(Flash()->geometry(), QRect(3, 3, 360, 267));
  EXPECT_EQ(Eeprom()->geometry(), QRect(3, 273, 360, 133));
  EXPECT_EQ(activated, (std::vector<QString>{"frmProgram", "frmEEprom"}));
}

TEST_F(MenuTree, AllOpenChildrenAreArranged) {
  window_.ViewOf(screen::View::Verify)->show();
  window_.ChildArea()->ShowGuide();
  Eeprom()->close();
  Choose("mnuWindowTileVertical");
  const int width = window_.ChildArea()->maximumViewportSize().width();
  EXPECT_EQ(Flash()->x(), 0);
  EXPECT_EQ(window_.ViewOf(screen::View::Verify)->x(), width / 3);
  EXPECT_EQ(window_.Guide().x(), width * 2 / 3);
}

TEST_F(MenuTree, MinimisedChildrenAreLinedUpAtTheLowerEdgeAndTheOthersStay) {
  window_.resize(900, 600);
  QApplication::processEvents();
  window_.ChildArea()->ShowGuide();
  const QRect place = Flash()->geometry();
  Eeprom()->showMinimized();
  window_.Guide().showMinimized();
  Eeprom()->move(40, 20);
  window_.Guide().move(10, 30);
  Choose("mnuWindowArrangeIcons");
  const int height = window_.ChildArea()->maximumViewportSize().height();
  EXPECT_EQ(Eeprom()->pos(), QPoint(0, height - Eeprom()->height()));
  EXPECT_EQ(window_.Guide().pos(), QPoint(Eeprom()->width(), height - Eeprom()->height()));
  EXPECT_EQ(Flash()->geometry(), place);
}

TEST_F(MenuTree, ArrangingWithoutMinimisedChildrenMovesNothing) {
  const QRect flash = Flash()->geometry();
  const QRect eeprom = Eeprom()->geometry();
  Choose("mnuWindowArrangeIcons");
  EXPECT_EQ(Flash()->geometry(), flash);
  EXPECT_EQ(Eeprom()->geometry(), eeprom);
}

}  // namespace
}  // namespace fenwright::ui
