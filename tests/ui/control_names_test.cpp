// The names of the windows and of their controls, which scripts and screen readers go by.

#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

struct ControlRow {
  const char* Window;
  const char* Class;  ///< the Qt class that it is at least
  const char* Name;
  friend void PrintTo(const ControlRow& row, std::ostream* out) {
    *out << row.Window << " " << row.Name;
  }
};

constexpr auto kControls = std::to_array<ControlRow>({
    {"frmMain", "QMainWindow", "frmMain"},
    // Device, fuse and lock bits.
    {"frmMain", "QComboBox", "Combo_device"},
    {"frmMain", "QComboBox", "Combo_CKSEL"},
    {"frmMain", "QLabel", "Lbl_CKSEL"},
    {"frmMain", "QComboBox", "Combo_SUT"},
    {"frmMain", "QComboBox", "Combo_BODEN"},
    {"frmMain", "QLabel", "Lbl_BODEN"},
    {"frmMain", "QComboBox", "Combo_BODLEVEL"},
    {"frmMain", "QLabel", "Lbl_BODLEVEL"},
    {"frmMain", "QComboBox", "Combo_CKOPT"},
    {"frmMain", "QLabel", "Lbl_CKOPT"},
    {"frmMain", "QComboBox", "Combo_PLLCK"},
    {"frmMain", "QLabel", "Lbl_PLLCK"},
    {"frmMain", "QComboBox", "Combo_EESAVE"},
    {"frmMain", "QLabel", "Lbl_EESAVE"},
    {"frmMain", "QComboBox", "Combo_RSTDISABL"},
    {"frmMain", "QLabel", "Lbl_RSTDISABL"},
    {"frmMain", "QComboBox", "Combo_FSTRT"},
    {"frmMain", "QLabel", "Lbl_FSTRT"},
    {"frmMain", "QComboBox", "Combo_RCEN"},
    {"frmMain", "QLabel", "Lbl_RCEN"},
    {"frmMain", "QComboBox", "Combo_LockBit"},
    {"frmMain", "QLabel", "Label6"},
    {"frmMain", "QLabel", "Lbl_READCALIB"},
    {"frmMain", "QPushButton", "cmdFuseRead"},
    {"frmMain", "QPushButton", "cmdFuseWrite"},
    // The command buttons.
    {"frmMain", "QPushButton", "Cmd_btn_open"},
    {"frmMain", "QPushButton", "Cmd_btn_save"},
    {"frmMain", "QPushButton", "Cmd_btn_reload"},
    {"frmMain", "QPushButton", "Cmd_btn_program"},
    {"frmMain", "QPushButton", "Cmd_btn_read"},
    {"frmMain", "QPushButton", "Cmd_btn_verify"},
    {"frmMain", "QPushButton", "Cmd_btn_erase"},
    {"frmMain", "QPushButton", "Cmd_btn_comselect"},
    // A cell of a buffer.
    {"frmMain", "QLineEdit", "txtAddress"},
    {"frmMain", "QLineEdit", "txtData"},
    {"frmMain", "QPushButton", "CmdRead"},
    {"frmMain", "QPushButton", "CmdWrite"},
    {"frmMain", "QRadioButton", "OptionProgram"},
    {"frmMain", "QRadioButton", "OptionEeprom"},
    // The status bar and its panels.
    {"frmMain", "QWidget", "sbStatusBar"},
    {"frmMain", "QLabel", "sbStatusBar_1"},
    {"frmMain", "QLabel", "sbStatusBar_2"},
    {"frmMain", "QLabel", "sbStatusBar_3"},
    {"frmMain", "QLabel", "sbStatusBar_4"},
    {"frmMain", "QLabel", "sbStatusBar_5"},
    // The menus.
    {"frmMain", "QMenu", "mnuFile"},
    {"frmMain", "QAction", "mnuFileOpen"},
    {"frmMain", "QAction", "mnuFileOpenCode"},
    {"frmMain", "QAction", "mnuFileOpenData"},
    {"frmMain", "QAction", "mnuFileSave"},
    {"frmMain", "QAction", "mnuFileSaveAs"},
    {"frmMain", "QAction", "mnuFileSaveAsCode"},
    {"frmMain", "QAction", "mnuFileSaveAsData"},
    {"frmMain", "QAction", "mnuFileExit"},
    {"frmMain", "QAction", "mnuFileBarx"},
    {"frmMain", "QAction", "mnuFileBarxxx"},
    {"frmMain", "QAction", "mnuFileBar2"},
    {"frmMain", "QAction", "mnuFileBarz"},
    {"frmMain", "QMenu", "mmuComCheck"},
    {"frmMain", "QAction", "mmuCominucation"},
    {"frmMain", "QAction", "mnuPC_buffer_clear"},
    {"frmMain", "QMenu", "mnuWindow"},
    {"frmMain", "QAction", "mmudeviceIndex"},
    {"frmMain", "QAction", "mmuWindowReDrow"},
    {"frmMain", "QAction", "mmuOpenSettingWindow"},
    {"frmMain", "QAction", "mmuOpenProgramWindow"},
    {"frmMain", "QAction", "mmuOpenEEpromWindow"},
    {"frmMain", "QAction", "mnuWindowCascade"},
    {"frmMain", "QAction", "mnuWindowTileHorizontal"},
    {"frmMain", "QAction", "mnuWindowTileVertical"},
    {"frmMain", "QAction", "mnuWindowArrangeIcons"},
    {"frmMain", "QAction", "mnuWindowBar1"},
    {"frmMain", "QMenu", "mnuHelp"},
    {"frmMain", "QAction", "mmuIndex"},
    {"frmMain", "QAction", "mnuFirmwareUpdate"},
    {"frmMain", "QAction", "mnuHelpSub"},
    {"frmMain", "QAction", "mnuHelpAbout"},
    {"frmMain", "QAction", "mnuHelpBar1"},
    {"frmMain", "QAction", "mnuHelpBar2"},
    {"frmMain", "QAction", "mnuReLoad"},
    // The child windows.
    {"frmMain", "QMdiSubWindow", "frmProgram"},
    {"frmMain", "QAbstractScrollArea", "txtPrg"},
    {"frmMain", "QMdiSubWindow", "frmEEprom"},
    {"frmMain", "QAbstractScrollArea", "txtEEp"},
    {"frmMain", "QMdiSubWindow", "frmVerify"},
    {"frmMain", "QAbstractScrollArea", "rtVerify"},
    {"frmMain", "QMdiSubWindow", "frmIndex"},
    // The message dialog.
    {"frmMsg", "QDialog", "frmMsg"},
    {"frmMsg", "QLabel", "txtMsg"},
    {"frmMsg", "QProgressBar", "ProgBar"},
    {"frmMsg", "QLabel", "Picture1"},
    {"frmMsg", "QPushButton", "Cmd_oks"},
    {"frmMsg", "QPushButton", "Cmd_okm"},
    {"frmMsg", "QPushButton", "Cmd_cancels"},
    // The about box.
    {"frmAbout", "QDialog", "frmAbout"},
    {"frmAbout", "QLabel", "picIcon"},
    {"frmAbout", "QLabel", "lblTitle"},
    {"frmAbout", "QLabel", "lblVersion"},
    {"frmAbout", "QLabel", "lblDescription"},
    {"frmAbout", "QLabel", "lblDisclaimer"},
    {"frmAbout", "QLabel", "Label1"},
    {"frmAbout", "QPushButton", "Command1"},
    {"frmAbout", "QPushButton", "cmdOK"},
    // The choice of the port.
    {"frmCom", "QDialog", "frmCom"},
    {"frmCom", "QLabel", "Label1"},
    {"frmCom", "QComboBox", "Combo_com"},
    {"frmCom", "QPushButton", "Command_ok"},
    {"frmCom", "QPushButton", "Command_cancel"},
    // The firmware update.
    {"Dialog_Update", "QDialog", "Dialog_Update"},
    {"Dialog_Update", "QLabel", "Label1"},
    {"Dialog_Update", "QComboBox", "Combo_ComPort"},
    {"Dialog_Update", "QLabel", "Label2"},
    {"Dialog_Update", "QComboBox", "Combo_speed"},
    {"Dialog_Update", "QPushButton", "CmdVersion"},
    {"Dialog_Update", "QLineEdit", "Text_FirmwareVersion"},
    {"Dialog_Update", "QPushButton", "CmdOpen"},
    {"Dialog_Update", "QLineEdit", "Text_File"},
    {"Dialog_Update", "QPushButton", "CmdUpdate"},
    {"Dialog_Update", "QPushButton", "OKButton"},
    {"Dialog_Update", "QLabel", "Label3"},
    {"Dialog_Update", "QProgressBar", "ProgressBar1"},
    {"Dialog_Update", "QStatusBar", "StatusBar1"},
});

/// The window that an object belongs to, itself if it is one. A child window belongs to its parent.
const QObject* WindowOf(const QObject* object) {
  while (object && !object->inherits("QDialog") && !object->inherits("QMainWindow")) {
    object = object->parent();
  }
  return object;
}

/// How many objects of that class and name the windows have that a row names.
int CountOf(const ControlRow& row) {
  int count = 0;
  const auto look_at = [&](const QObject* object) {
    if (object->objectName() != row.Name || !object->inherits(row.Class)) return;
    if (WindowOf(object)->objectName() == row.Window) ++count;
  };
  for (const QWidget* top : QApplication::topLevelWidgets()) {
    if (top->parent()) continue;
    look_at(top);
    for (const QObject* object : top->findChildren<QObject*>()) look_at(object);
  }
  return count;
}

TEST_ON(WindowTest, ControlNames, EveryControlIsFoundOnceByItsNameInItsWindow) {
  Start();
  bool opened = false;
  QTimer::singleShot(0, &Window(), [&] {
    opened = true;
    for (const ControlRow& row : kControls) {
      EXPECT_EQ(CountOf(row), 1) << ::testing::PrintToString(row);
    }
    Button("OKButton")->click();
  });
  // The only window that is made when it is opened.
  Choose("mnuFirmwareUpdate");
  EXPECT_TRUE(opened);
}

}  // namespace
}  // namespace fenwright::ui
