#include <span>

#include <QAction>
#include <QMenu>
#include <QMenuBar>

#include "ui/icons.h"
#include "ui/main_window.h"

namespace fenwright::ui {

enum class MenuKind {
  Menu,       ///< a menu of the bar; the rows below it are its items
  Item,       ///< an item of the menu above
  Separator,  ///< a line in the menu above
  BarItem,    ///< an item of the bar itself
};

/// One row of the menu tree. An item runs a command, or calls a routine of the window, which works
/// while a command runs too.
struct MainWindow::MenuDesign {
  MenuKind Kind = MenuKind::Item;
  const char* Name = "";
  const char* Caption = "";
  MainWindow::Command Before = nullptr;  ///< runs first; null = nothing
  MainWindow::Command Command = nullptr;
  void (MainWindow::*Routine)() = nullptr;
  const char* Shortcut = "";
  QIcon (*Icon)() = nullptr;
};

std::span<const MainWindow::MenuDesign> MainWindow::MenuTree() {
  using enum MenuKind;
  using Commands = MainWindowCommands;
  // The percent sign of mnuPC_buffer_clear is meant: that item has no access key.
  static constexpr MenuDesign kTree[] = {
      {.Kind = Menu, .Name = "mnuFile", .Caption = "ファイル(&F)"},
      {.Name = "mnuFileOpen",
       .Caption = "コード/データファイルを開く(&O)",
       .Command = &Commands::Open,
       .Shortcut = "Ctrl+O",
       .Icon = OpenIcon},
      {.Kind = Separator, .Name = "mnuFileBarx"},
      {.Name = "mnuFileOpenCode",
       .Caption = "コードファイルを開く",
       .Command = &Commands::OpenCode},
      {.Name = "mnuFileOpenData",
       .Caption = "データファイルを開く",
       .Command = &Commands::OpenData},
      {.Kind = Separator, .Name = "mnuFileBarxxx"},
      {.Name = "mnuFileSave",
       .Caption = "上書き保存(&S)",
       .Command = &Commands::Save,
       .Shortcut = "Ctrl+S",
       .Icon = SaveIcon},
      {.Kind = Separator, .Name = "mnuFileBar2"},
      {.Name = "mnuFileSaveAs",
       .Caption = "コード/データファイルを別名で保存(&A)",
       .Command = &Commands::SaveAs,
       .Shortcut = "Ctrl+Shift+S"},
      {.Name = "mnuFileSaveAsCode",
       .Caption = "コードファイルを別名で保存",
       .Command = &Commands::SaveCodeAs},
      {.Name = "mnuFileSaveAsData",
       .Caption = "データファイルを別名で保存",
       .Command = &Commands::SaveDataAs},
      {.Kind = Separator, .Name = "mnuFileBarz"},
      {.Name = "mnuFileExit", .Caption = "終了(&X)", .Routine = &MainWindow::CloseFromMenu},

      {.Kind = Menu, .Name = "mmuComCheck", .Caption = "オプション(&T)"},
      {.Name = "mmuCominucation",
       .Caption = "COMポート選択(&C)",
       .Before = &Commands::TraceComPortMenu,
       .Command = &Commands::SelectComPort},
      {.Name = "mnuPC_buffer_clear",
       .Caption = "PCバッファのクリア(%T)",
       .Command = &Commands::ClearBuffers},

      {.Kind = Menu, .Name = "mnuWindow", .Caption = "ウインドウ(&W)"},
      {.Name = "mmudeviceIndex",
       .Caption = "デバイスインデックスウインドウを開く",
       .Command = &Commands::OpenGuide},
      {.Name = "mmuWindowReDrow",
       .Caption = "ウインドウの再整列",
       .Routine = &MainWindow::RearrangeWindows},
      {.Name = "mmuOpenSettingWindow",
       .Caption = "設定ウインドウを開く",
       .Routine = &MainWindow::OpenSettingsArea},
      {.Name = "mmuOpenProgramWindow",
       .Caption = "プログラムメモリウインドウを開く",
       .Routine = &MainWindow::OpenFlashView},
      {.Name = "mmuOpenEEpromWindow",
       .Caption = "EEPROMデータメモリウインドウを開く",
       .Routine = &MainWindow::OpenEepromView},
      {.Kind = Separator, .Name = "mnuWindowBar1"},
      {.Name = "mnuWindowCascade",
       .Caption = "重ねて表示(&C)",
       .Routine = &MainWindow::CascadeChildren},
      {.Name = "mnuWindowTileHorizontal",
       .Caption = "上下に並べて表示(&H)",
       .Routine = &MainWindow::TileChildrenOneAboveTheOther},
      {.Name = "mnuWindowTileVertical",
       .Caption = "左右に並べて表示(&V)",
       .Routine = &MainWindow::TileChildrenSideBySide},
      {.Name = "mnuWindowArrangeIcons",
       .Caption = "アイコンの整列(&A)",
       .Routine = &MainWindow::ArrangeMinimisedChildren},

      {.Kind = Menu, .Name = "mnuHelp", .Caption = "ヘルプ(&H)"},
      {.Name = "mmuIndex",
       .Caption = "デバイスの挿入位置について(&8)",
       .Command = &Commands::OpenGuide},
      {.Kind = Separator, .Name = "mnuHelpBar1"},
      {.Name = "mnuFirmwareUpdate",
       .Caption = "ファームウエアのアップデート",
       .Command = &Commands::UpdateFirmware},
      {.Kind = Separator, .Name = "mnuHelpBar2"},
      {.Name = "mnuHelpSub", .Caption = "ヘルプ(&H)", .Command = &Commands::OpenManual},
      {.Name = "mnuHelpAbout", .Caption = "バージョン情報(&A)", .Command = &Commands::ShowAbout},

      {.Kind = BarItem,
       .Name = "mnuReLoad",
       .Caption = "【HEXファイルの再ロード】",
       .Command = &Commands::Reload},
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
  if (design.Routine) {
    connect(item, &QAction::triggered, this, design.Routine);
  } else {
    connect(item, &QAction::triggered, this,
            [this, first = design.Before, command = design.Command] { RunInTurn(first, command); });
    command_items_.push_back(item);
  }
  menu.addAction(item);
}

void MainWindow::RunInTurn(Command first, Command then) {
  Run([this, first, then] {
    if (first && commands_.*first) (commands_.*first)();
    if (commands_.*then) (commands_.*then)();
  });
}

}  // namespace fenwright::ui
