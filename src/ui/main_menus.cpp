#include <span>

#include <QAction>
#include <QMenu>
#include <QMenuBar>

#include "ops/commands.h"
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
/// routine of the window; a free routine works while a command runs too.
struct MainWindow::MenuDesign {
  MenuKind Kind = MenuKind::Item;
  const char* Name = "";
  const char* Caption = "";
  MainWindow::EntryFunction Entry = nullptr;
  MainWindow::Action Action = nullptr;
  void (MainWindow::*Routine)() = nullptr;
  void (MainWindow::*FreeRoutine)() = nullptr;
  const char* Shortcut = "";
  QIcon (*Icon)() = nullptr;
};

std::span<const MainWindow::MenuDesign> MainWindow::MenuTree() {
  using enum MenuKind;
  // The percent sign of mnuPC_buffer_clear is meant: that item has no access key.
  static constexpr MenuDesign kTree[] = {
      {.Kind = Menu, .Name = "mnuFile", .Caption = "ファイル(&F)"},
      {.Name = "mnuFileOpen",
       .Caption = "コード/データファイルを開く(&O)",
       .Entry = ops::mnuFileOpen_Click,
       .Shortcut = "Ctrl+O",
       .Icon = OpenIcon},
      {.Kind = Separator, .Name = "mnuFileBarx"},
      {.Name = "mnuFileOpenCode",
       .Caption = "コードファイルを開く",
       .Entry = ops::mnuFileOpenCode_Click},
      {.Name = "mnuFileOpenData",
       .Caption = "データファイルを開く",
       .Entry = ops::mnuFileOpenData_Click},
      {.Kind = Separator, .Name = "mnuFileBarxxx"},
      {.Name = "mnuFileSave",
       .Caption = "上書き保存(&S)",
       .Entry = ops::mnuFileSave_Click,
       .Shortcut = "Ctrl+S",
       .Icon = SaveIcon},
      {.Kind = Separator, .Name = "mnuFileBar2"},
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
      {.Kind = Separator, .Name = "mnuFileBarz"},
      {.Name = "mnuFileExit", .Caption = "終了(&X)", .FreeRoutine = &MainWindow::CloseFromMenu},

      {.Kind = Menu, .Name = "mmuComCheck", .Caption = "オプション(&T)"},
      {.Name = "mmuCominucation",
       .Caption = "COMポート選択(&C)",
       .Entry = update::mmuCominucation_Click},
      {.Name = "mnuPC_buffer_clear",
       .Caption = "PCバッファのクリア(%T)",
       .Entry = ops::mnuPC_buffer_clear_Click},

      {.Kind = Menu, .Name = "mnuWindow", .Caption = "ウインドウ(&W)"},
      {.Name = "mmudeviceIndex",
       .Caption = "デバイスインデックスウインドウを開く",
       .Routine = &MainWindow::ShowGuide},
      {.Name = "mmuWindowReDrow",
       .Caption = "ウインドウの再整列",
       .FreeRoutine = &MainWindow::RearrangeWindows},
      {.Name = "mmuOpenSettingWindow",
       .Caption = "設定ウインドウを開く",
       .FreeRoutine = &MainWindow::OpenSettingsArea},
      {.Name = "mmuOpenProgramWindow",
       .Caption = "プログラムメモリウインドウを開く",
       .FreeRoutine = &MainWindow::OpenFlashView},
      {.Name = "mmuOpenEEpromWindow",
       .Caption = "EEPROMデータメモリウインドウを開く",
       .FreeRoutine = &MainWindow::OpenEepromView},
      {.Kind = Separator, .Name = "mnuWindowBar1"},
      {.Name = "mnuWindowCascade",
       .Caption = "重ねて表示(&C)",
       .FreeRoutine = &MainWindow::CascadeChildren},
      {.Name = "mnuWindowTileHorizontal",
       .Caption = "上下に並べて表示(&H)",
       .FreeRoutine = &MainWindow::TileChildrenOneAboveTheOther},
      {.Name = "mnuWindowTileVertical",
       .Caption = "左右に並べて表示(&V)",
       .FreeRoutine = &MainWindow::TileChildrenSideBySide},
      {.Name = "mnuWindowArrangeIcons",
       .Caption = "アイコンの整列(&A)",
       .FreeRoutine = &MainWindow::ArrangeMinimisedChildren},

      {.Kind = Menu, .Name = "mnuHelp", .Caption = "ヘルプ(&H)"},
      {.Name = "mmuIndex",
       .Caption = "デバイスの挿入位置について(&8)",
       .Routine = &MainWindow::ShowGuide},
      {.Kind = Separator, .Name = "mnuHelpBar1"},
      {.Name = "mnuFirmwareUpdate",
       .Caption = "ファームウエアのアップデート",
       .Action = &WindowActions::UpdateFirmware},
      {.Kind = Separator, .Name = "mnuHelpBar2"},
      {.Name = "mnuHelpSub", .Caption = "ヘルプ(&H)", .Action = &WindowActions::OpenManual},
      {.Name = "mnuHelpAbout",
       .Caption = "バージョン情報(&A)",
       .Action = &WindowActions::ShowAbout},

      {.Kind = BarItem,
       .Name = "mnuReLoad",
       .Caption = "【HEXファイルの再ロード】",
       .Entry = ops::mnuReLoad_Click},
  };
  return kTree;
}

void MainWindow::BuildMenus() {
  menuBar()->setObjectName("mnuBar");
  menuBar()->setAccessibleName("メニュー");
  QMenu* menu = nullptr;
  for (const MenuDesign& design : MenuTree()) {
    switch (design.Kind) {
      case MenuKind::Menu:
        menu = menuBar()->addMenu(design.Caption);
        menu->setObjectName(design.Name);
        menu->setAccessibleName(QString(design.Caption).section('(', 0, 0));
        menu->menuAction()->setObjectName(design.Name);
        break;
      case MenuKind::Separator:
        menu->addSeparator()->setObjectName(design.Name);
        break;
      case MenuKind::Item:
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
  const auto connect_item = [this, item](const auto& start) {
    connect(item, &QAction::triggered, this, start);
    command_items_.push_back(item);
  };
  if (design.FreeRoutine) {
    connect(item, &QAction::triggered, this, design.FreeRoutine);
  } else if (design.Entry) {
    connect_item([this, entry = design.Entry] { Run(entry); });
  } else if (design.Action) {
    connect_item([this, action = design.Action] { Run(actions_.*action); });
  } else {
    connect_item([this, routine = design.Routine] { (this->*routine)(); });
  }
  menu.addAction(item);
}

}  // namespace fenwright::ui
