#include <string_view>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

#include "pictures/pictures.h"
#include "pictures/studio.h"

namespace fenwright::pictures {
namespace {

QImage MessageDialog(Studio& studio) { return Studio::Of(studio.Run().MessageDialog()); }

QImage AfterPress(Studio& studio, const char* button) {
  studio.Press(button);
  return MessageDialog(studio);
}

QImage Busy() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  QImage picture;
  studio.WhenProgress(
      60, [&studio] { studio.Press("Cmd_btn_program"); },
      [&studio, &picture] { picture = MessageDialog(studio); });
  return picture;
}

QImage Notice() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  return AfterPress(studio, "Cmd_btn_program");
}

/// The job box once a job was opened.
QImage JobBox() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  auto* button = dynamic_cast<QToolButton*>(Studio::Find("cmdJob"));
  button->click();
  return Studio::Of(studio.Run().JobBox());
}

QImage NothingToProgram() {
  Studio studio;
  return AfterPress(studio, "Cmd_btn_program");
}

QImage ResetPin() {
  Studio studio({.Device = "ATtiny26L", .Chip = "ATtiny26L"});
  auto* list = dynamic_cast<QComboBox*>(Studio::Find("Combo_RSTDISABL"));
  list->setCurrentIndex(0);
  emit list->activated(0);
  return MessageDialog(studio);
}

QImage EmptySocket() {
  Studio studio({.Chip = "empty"});
  return AfterPress(studio, "Cmd_btn_verify");
}

QImage OtherDevice() {
  Studio studio({.Chip = "ATtiny12L"});
  return AfterPress(studio, "Cmd_btn_verify");
}

QImage NoBoard() {
  Studio studio({.Faults = {{.What = fenwright::board::Fault::Kind::Silent}}});
  return AfterPress(studio, "Cmd_btn_verify");
}

QImage OldFirmware() {
  Studio studio({.VersionLine = "KV-LOD350  V6.31\r\n"});
  return Studio::OfModal([&studio] { studio.Press("Cmd_btn_verify"); });
}

QImage RefusedFirmware() {
  Studio studio({.VersionLine = "KV-LOD350  V6.10\r\n"});
  return AfterPress(studio, "Cmd_btn_verify");
}

QImage CloseQuestion() {
  Studio studio;
  QImage picture;
  studio.WhenProgress(
      30, [&studio] { studio.Press("Cmd_btn_read"); },
      [&studio, &picture] {
        picture = Studio::OfModal([&studio] { studio.Run().Window().close(); });
      });
  return picture;
}

QImage OpenDialog() {
  Studio studio;
  return Studio::OfModal([&studio] { studio.Press("Cmd_btn_open"); });
}

QImage About() {
  Studio studio;
  return Studio::OfModal([&studio] { studio.Press("mnuHelpAbout"); });
}

/// The dialog for the COM port after these steps in it.
QImage ComPort(PortsOfStudio ports, const std::vector<Studio::Step>& steps = {}) {
  Studio studio({.Ports = ports});
  return Studio::OfModal([&studio] { studio.Press("Cmd_btn_comselect"); }, steps);
}

bool OpenList(QWidget& dialog) {
  dialog.findChild<QComboBox*>("Combo_com")->showPopup();
  return true;
}

QImage FirstStart() {
  return Studio::OfModal(
      [] { const Studio studio({.Ports = PortsOfStudio::None, .FirstStart = true}); });
}

/// The firmware update with a file of this content and name, after these steps.
QImage Update(const std::string& content, const std::string& name,
              const std::vector<Studio::Step>& steps,
              const std::vector<board::Fault>& faults = {}) {
  const std::string path = "/home/user/avr/" + name;
  Studio studio({.Faults = faults, .ChosenFile = path});
  studio.Files().Files[path] = content;
  return Studio::OfModal([&studio] { studio.Press("mnuFirmwareUpdate"); }, steps);
}

QImage IdleUpdate() { return Update("", "kvld638.hex", {}); }

/// Waits until the status of the update starts with this text.
Studio::Step UntilStatus(const char* start) {
  return [start](QWidget& dialog) {
    return dialog.findChild<QLabel*>("StatusBar1_1")->text().startsWith(start);
  };
}

/// Waits until the bar of the update has moved.
bool UntilMoving(QWidget& dialog) {
  const auto* const bar = dialog.findChild<QProgressBar*>("ProgressBar1");
  return bar->isVisible() && bar->value() > bar->minimum();
}

const char* const kGoodName = "kvld640.hex";
const Studio::Step kOpen = Studio::Pressing("CmdOpen");
const Studio::Step kUpdate = Studio::Pressing("CmdUpdate");

/// An image of many words, so that its update can be looked at.
std::string Firmware() {
  constexpr int kRecords = 512;
  std::string file;
  for (int record = 0; record < kRecords; ++record) {
    const int high = record / 16;
    const int low = record % 16 * 16;
    std::string line = QString::asprintf(":10%02X%02X00", high, low).toStdString();
    int sum = 16 + high + low;
    for (int byte = 0; byte < 16; ++byte) {
      line += QString::asprintf("%02X", byte * 7).toStdString();
      sum += byte * 7;
    }
    file += line + QString::asprintf("%02X\r\n", -sum & 0xFF).toStdString();
  }
  return file + ":00000001FF\r\n";
}

QImage ReadVersion() {
  return Update("", kGoodName,
                {Studio::Pressing("CmdVersion"), UntilStatus("ファームウエアバージョンをリード")});
}

QImage ChosenFirmware(const std::string& content, const char* name) {
  return Update(content, name, {kOpen, UntilStatus("ファイル名")});
}

QImage RunningUpdate() {
  return Update(Firmware(), kGoodName, {kOpen, UntilStatus("ファイル名"), kUpdate, UntilMoving});
}

QImage FinishedUpdate() {
  return Update(Firmware(), kGoodName,
                {kOpen, UntilStatus("ファイル名"), kUpdate, UntilStatus("アップデート完了")});
}

QImage FailedUpdate() {
  return Update(Firmware(), kGoodName,
                {kOpen, UntilStatus("ファイル名"), kUpdate, UntilStatus("***")},
                {{.What = board::Fault::Kind::Flip, .Number = 40}});
}

QImage UpdateQuestion() {
  return Update(
      Firmware(), kGoodName,
      {kOpen, UntilStatus("ファイル名"), kUpdate, UntilMoving, Studio::Pressing("OKButton"),
       [](QWidget& dialog) { return QApplication::activeModalWidget() != &dialog; }});
}

}  // namespace

std::vector<Picture> DialogPictures() {
  return {
      {"message-busy", Busy},
      {"message-notice", Notice},
      {"message-nothing-to-program", NothingToProgram},
      {"message-reset-pin", ResetPin},
      {"message-empty-socket", EmptySocket},
      {"message-other-device", OtherDevice},
      {"message-no-board", NoBoard},
      {"message-refused-firmware", RefusedFirmware},
      {"box-old-firmware", OldFirmware},
      {"question-close", CloseQuestion},
      {"dialog-open", OpenDialog},
      {"dialog-about", About},
      {"dialog-job", JobBox},
      {"dialog-com", [] { return ComPort(PortsOfStudio::Simulated); }},
      {"dialog-com-list", [] { return ComPort(PortsOfStudio::Several, {OpenList}); }},
      {"dialog-com-no-port", [] { return ComPort(PortsOfStudio::None, {OpenList}); }},
      {"dialog-com-found",
       [] {
         return ComPort(PortsOfStudio::Several,
                        {Studio::Pressing("cmdSearchBoard"), [](QWidget& dialog) {
                           const auto* note = dialog.findChild<QLabel*>("lblPort");
                           return note->text().contains("見つかり");
                         }});
       }},
      {"dialog-first-start", FirstStart},
      {"dialog-update", IdleUpdate},
      {"dialog-update-version", ReadVersion},
      {"dialog-update-file", [] { return ChosenFirmware(Firmware(), kGoodName); }},
      {"dialog-update-foreign-name", [] { return ChosenFirmware(Firmware(), "blink.hex"); }},
      {"dialog-update-bad-file",
       [] { return ChosenFirmware(":020000000cC09D\r\n:00000001FF\r\n", kGoodName); }},
      {"dialog-update-running", RunningUpdate},
      {"dialog-update-question", UpdateQuestion},
      {"dialog-update-finished", FinishedUpdate},
      {"dialog-update-failed", FailedUpdate},
  };
}

}  // namespace fenwright::pictures
