#include <QAction>
#include <QMenu>
#include <QMenuBar>

#include "ops/commands.h"
#include "ui/child_window_area.h"
#include "ui/controls.h"
#include "ui/icons.h"
#include "ui/main_window.h"
#include "update/com_selection.h"

namespace fenwright::ui {

enum class MenuKind {
  Menu,       ///< a menu of the bar; the rows below it are its items
  Item,       ///< an item of the menu above
  Separator,  ///< a line in the menu above
  BarItem,    ///< an item of the bar itself
};

/// One row of the menu tree. An item starts an entry of the engine, an action of the run, or a
/// routine of the window or of its child windows. A routine works while a command runs too, and so
/// does an action that is told to.
struct MainWindow::MenuDesign {
  MenuKind Kind = MenuKind::Item;
  const char* Name = "";
  const char* Caption = "";
  MainWindow::EntryFunction Entry = nullptr;
  MainWindow::Action Action = nullptr;
  void (MainWindow::*Routine)() = nullptr;
  void (ChildWindowArea::*ChildRoutine)() = nullptr;
  bool WhileRunning = false;
  const char* Shortcut = "";
  QIcon (*Icon)() = nullptr;
};

// The percent sign of mnuPC_buffer_clear is meant: that item has no access key.
constexpr MainWindow::MenuDesign MainWindow::kMenuTree[] = {
    {.Kind = MenuKind::Menu, .Name = "mnuFile", .Caption = "ファイル(&F)"},
    {.Name = "mnuFileOpen",
     .Caption = "コード/データファイルを開く(&O)",
     .Entry = ops::mnuFileOpen_Click,
     .Shortcut = "Ctrl+O",
     .Icon = OpenIcon},
    {.Kind = MenuKind::Separator, .Name = "mnuFileBarx"},
    {.Name = "mnuFileOpenCode",
     .Caption = "コードファイルを開く",
     .Entry = ops::mnuFileOpenCode_Click},
    {.Name = "mnuFileOpenData",
     .Caption = "データファイルを開く",
     .Entry = ops::mnuFileOpenData_Click},
    {.Kind = MenuKind::Separator, .Name = "mnuFileBarxxx"},
    {.Name = "mnuFileSave",
     .Caption = "上書き保存(&S)",
     .Entry = ops::mnuFileSave_Click,
     .Shortcut = "Ctrl+S",
     .Icon = SaveIcon},
    {.Kind = MenuKind::Separator, .Name = "mnuFileBar2"},
    {.Name = "mnuFileSaveAs",
     .Caption = "コード/データファイルを別名で保存(&A)",
     .Entry = ops::mnuFileSaveAs_Click,
     .Shortcut = "Ctrl+Shift+S"},
    {.Name = "mnuFileSaveAsCode",
     .Caption = "コードファイルを別名で保存",
     .Entry = ops::mnuFileSaveAsCode_Click},
    {.Name = "mnuFileSaveAsData",
     .Caption = "データファイルを別名で保存",
     .Entry = ops::mnuFileSaveAsData_Click},
    {.Kind = MenuKind::Separator, .Name = "mnuFileBarz"},
    {.Name = "mnuFileExit", .Caption = "終了(&X)", .Routine = &MainWindow::CloseFromMenu},

    {.Kind = MenuKind::Menu, .Name = "mmuComCheck", .Caption = "オプション(&T)"},
    {.Name = "mmuCominucation",
     .Caption = "COMポート選択(&C)",
     .Entry = update::mmuCominucation_Click},
    {.Name = "mnuPC_buffer_clear",
     .Caption = "PCバッファのクリア(%T)",
     .Entry = ops::mnuPC_buffer_clear_Click},

    {.Kind = MenuKind::Menu, .Name = "mnuWindow", .Caption = "ウインドウ(&W)"},
    {.Name = "mmudeviceIndex",
     .Caption = "デバイスインデックスウインドウを開く",
     .ChildRoutine = &ChildWindowArea::ShowGuide},
    {.Name = "mmuWindowReDrow",
     .Caption = "ウインドウの再整列",
     .Routine = &MainWindow::RearrangeWindows},
    {.Name = "mmuOpenSettingWindow",
     .Caption = "設定ウインドウを開く",
     .Routine = &MainWindow::OpenSettingsArea},
    {.Name = "mmuOpenProgramWindow",
     .Caption = "プログラムメモリウインドウを開く",
     .ChildRoutine = &ChildWindowArea::OpenFlashView},
    {.Name = "mmuOpenEEpromWindow",
     .Caption = "EEPROMデータメモリウインドウを開く",
     .ChildRoutine = &ChildWindowArea::OpenEepromView},
    {.Kind = MenuKind::Separator, .Name = "mnuWindowBar1"},
    {.Name = "mnuWindowCascade",
     .Caption = "重ねて表示(&C)",
     .ChildRoutine = &ChildWindowArea::Cascade},
    {.Name = "mnuWindowTileHorizontal",
     .Caption = "上下に並べて表示(&H)",
     .ChildRoutine = &ChildWindowArea::TileOneAboveTheOther},
    {.Name = "mnuWindowTileVertical",
     .Caption = "左右に並べて表示(&V)",
     .ChildRoutine = &ChildWindowArea::TileSideBySide},
    {.Name = "mnuWindowArrangeIcons",
     .Caption = "アイコンの整列(&A)",
     .ChildRoutine = &ChildWindowArea::ArrangeMinimised},

    {.Kind = MenuKind::Menu, .Name = "mnuHelp", .Caption = "ヘルプ(&H)"},
    {.Name = "mmuIndex",
     .Caption = "デバイスの挿入位置について(&8)",
     .ChildRoutine = &ChildWindowArea::ShowGuide},
    {.Kind = MenuKind::Separator, .Name = "mnuHelpBar1"},
    {.Name = "mnuFirmwareUpdate",
     .Caption = "ファームウエアのアップデート",
     .Action = &WindowActions::UpdateFirmware},
    {.Kind = MenuKind::Separator, .Name = "mnuHelpBar2"},
    {.Name = "mnuHelpSub",
     .Caption = "ヘルプ(&H)",
     .Action = &WindowActions::OpenManual,
     .WhileRunning = true},
    {.Name = "mnuHelpAbout",
     .Caption = "バージョン情報(&A)",
     .Action = &WindowActions::ShowAbout,
     .WhileRunning = true},

    {.Kind = MenuKind::BarItem,
     .Name = "mnuReLoad",
     .Caption = "【HEXファイルの再ロード】",
     .Entry = ops::mnuReLoad_Click},
};

void MainWindow::BuildMenus() {
  Name(menuBar(), "mnuBar", "メニュー");
  QMenu* menu = nullptr;  // the first row is a menu
  for (const MenuDesign& design : kMenuTree) {
    switch (design.Kind) {
      case MenuKind::Menu:
        menu = menuBar()->addMenu(design.Caption);
        Name(menu, design.Name, QString(design.Caption).section('(', 0, 0));
        menu->menuAction()->setObjectName(design.Name);
        break;
      case MenuKind::Separator:
        Q_ASSUME(menu != nullptr);
        menu->addSeparator()->setObjectName(design.Name);
        break;
      case MenuKind::Item:
        Q_ASSUME(menu != nullptr);
        AddMenuItem(*menu, design);
        break;
      case MenuKind::BarItem:
        AddMenuItem(*menuBar(), design);
        break;
    }
  }
}

void MainWindow::AddMenuItem(QWidget& menu, const MenuDesign& design) {
  auto* item = new QAction(design.Caption, &menu);
  item->setObjectName(design.Name);
  item->setAutoRepeat(false);
  item->setShortcut(QKeySequence(design.Shortcut));
  if (design.Icon) item->setIcon(design.Icon());
  if (design.Routine) {
    connect(item, &QAction::triggered, this, design.Routine);
  } else if (design.ChildRoutine) {
    connect(item, &QAction::triggered, children_, design.ChildRoutine);
  } else if (design.Entry) {
    connect(item, &QAction::triggered, this, [this, entry = design.Entry] { Run(entry); });
  } else if (design.WhileRunning) {
    connect(item, &QAction::triggered, this, [this, action = design.Action] {
      if (actions_.*action) (actions_.*action)();
    });
  } else {
    connect(item, &QAction::triggered, this,
            [this, action = design.Action] { Run(actions_.*action); });
  }
  if (design.Entry || (design.Action && !design.WhileRunning)) command_items_.push_back(item);
  menu.addAction(item);
}

}  // namespace fenwright::ui
