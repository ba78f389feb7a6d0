#include <QFrame>
#include <QHBoxLayout>
#include <QPushButton>

#include "ops/commands.h"
#include "ui/controls.h"
#include "ui/icons.h"
#include "ui/main_window.h"
#include "update/com_selection.h"

namespace fenwright::ui {
namespace {

constexpr int kButtonSpacing = 4;
constexpr QSize kButtonIcon(20, 20);
constexpr int kButtonHeight = 32;

/// One command button. Some have their shortcut from their menu item.
struct ButtonDesign {
  const char* Name;
  const char* Caption;
  QIcon (*Icon)();
  const char* ToolTip;
  void (*Entry)(core::RunContext& context);
  const char* Shortcut = "";
  bool FirstOfGroup = false;  ///< a line stands before it
};

constexpr ButtonDesign kButtons[] = {
    {.Name = "Cmd_btn_open",
     .Caption = "オープン",
     .Icon = OpenIcon,
     .ToolTip = "コードファイルとデータファイルを開きます (Ctrl+O)",
     .Entry = ops::Cmd_btn_open_Click},
    {.Name = "Cmd_btn_save",
     .Caption = "セーブ",
     .Icon = SaveIcon,
     .ToolTip = "開いているファイルに上書き保存します (Ctrl+S)",
     .Entry = ops::Cmd_btn_save_Click},
    {.Name = "Cmd_btn_reload",
     .Caption = "リロード",
     .Icon = ReloadIcon,
     .ToolTip = "最後に開いたファイルをもう一度読み込みます (Ctrl+R)",
     .Entry = ops::Cmd_btn_reload_Click,
     .Shortcut = "Ctrl+R"},
    {.Name = "Cmd_btn_program",
     .Caption = "プログラム",
     .Icon = ProgramIcon,
     .ToolTip = "チップを消去し、書き込み、ベリファイします (F5)",
     .Entry = ops::Cmd_btn_program_Click,
     .Shortcut = "F5",
     .FirstOfGroup = true},
    {.Name = "Cmd_btn_read",
     .Caption = "リード",
     .Icon = ReadIcon,
     .ToolTip = "チップの内容をバッファーに読み出します (F6)",
     .Entry = ops::Cmd_btn_read_Click,
     .Shortcut = "F6"},
    {.Name = "Cmd_btn_verify",
     .Caption = "ベリファイ",
     .Icon = VerifyIcon,
     .ToolTip = "チップの内容をバッファーと比較します (F7)",
     .Entry = ops::Cmd_btn_verify_Click,
     .Shortcut = "F7"},
    // No shortcut, and apart from the others: it destroys what is in the chip.
    {.Name = "Cmd_btn_erase",
     .Caption = "イレース",
     .Icon = EraseIcon,
     .ToolTip = "チップの内容をすべて消去します",
     .Entry = ops::Cmd_btn_erase_Click,
     .FirstOfGroup = true},
    {.Name = "Cmd_btn_comselect",
     .Caption = "COM",
     .Icon = PortIcon,
     .ToolTip = "ボードをつないだCOMポートを選びます",
     .Entry = update::Cmd_btn_comselect_Click,
     .FirstOfGroup = true}};

QWidget* GroupLine() {
  auto* line = new QFrame;
  line->setFrameShape(QFrame::VLine);
  line->setFrameShadow(QFrame::Sunken);
  return line;
}

}  // namespace

QWidget* MainWindow::BuildCommandBar() {
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(kButtonSpacing);

  for (const ButtonDesign& design : kButtons) {
    if (design.FirstOfGroup) row->addWidget(GroupLine());
    auto* button = new QPushButton(design.Icon(), design.Caption);
    Name(button, design.Name, design.Caption, design.ToolTip);
    button->setIconSize(kButtonIcon);
    button->setMinimumHeight(kButtonHeight);
    button->setShortcut(QKeySequence(design.Shortcut));
    QFont font = button->font();
    font.setBold(true);
    button->setFont(font);
    connect(button, &QPushButton::clicked, this, [this, entry = design.Entry] { Run(entry); });
    command_controls_.push_back(button);
    row->addWidget(button);
  }
  row->addStretch(1);
  return bar;
}

}  // namespace fenwright::ui
