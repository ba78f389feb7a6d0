// Takes pictures of the program's windows and dialogs, each in a given state, on a simulated board.
//
//   fenwright-pictures [--dark] FOLDER [NAME...]
//   fenwright-pictures --list
//
// Without names it takes all of them. QT_SCALE_FACTOR sets the scale.

#include <algorithm>
#include <functional>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QCommandLineParser>
#include <QDir>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLocale>
#include <QProgressBar>
#include <QStyleFactory>
#include <QTranslator>

#include "core/settings_keys.h"
#include "pictures/studio.h"
#include "ui/dark_style.h"
#include "ui/fonts.h"
#include "ui/text.h"

namespace {

using fenwright::pictures::Studio;

/// One picture: its file's name and how the program gets there.
struct Picture {
  const char* Name;
  std::function<QImage()> Take;
};

QImage Window(Studio& studio) { return Studio::Of(studio.Run().Window()); }

QImage MessageDialog(Studio& studio) { return Studio::Of(studio.Run().MessageDialog()); }

QImage AfterPress(Studio& studio, const char* button) {
  studio.Press(button);
  return MessageDialog(studio);
}

QImage Start() {
  Studio studio;
  return Window(studio);
}

QImage Programmed() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  studio.Press("Cmd_btn_program");
  studio.Run().MessageDialog().Close();
  studio.Press("mmuOpenEEpromWindow");
  studio.Press("mmuOpenProgramWindow");
  return Window(studio);
}

QImage Read() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  studio.Press("Cmd_btn_program");
  studio.Press("Cmd_btn_read");
  studio.Run().MessageDialog().Close();
  studio.Press("mmuOpenEEpromWindow");
  studio.Press("mmuOpenProgramWindow");
  return Window(studio);
}

QImage VerifyFailed() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  studio.Press("Cmd_btn_program");
  for (const std::uint32_t word : {0x12U, 0x1AU, 0x1BU}) {
    studio.Port().Board().Socket().SetFlashWord(word, 0xFFFF);
  }
  studio.Press("Cmd_btn_verify");
  studio.Run().MessageDialog().Close();
  return Window(studio);
}

/// A verify in a window of that size, after programming, with a chip that differs or not.
QImage InRoom(const QSize& size, bool spoilt) {
  Studio studio;
  studio.Run().Window().resize(size);
  studio.Open(Studio::kCounterFile);
  studio.Press("Cmd_btn_program");
  if (spoilt) studio.Port().Board().Socket().SetFlashWord(0x12, 0xFFFF);
  studio.Press("Cmd_btn_verify");
  studio.Run().MessageDialog().Close();
  return Window(studio);
}

QImage HandEdit() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  auto* address = dynamic_cast<QLineEdit*>(Studio::Find("txtAddress"));
  address->setText("001A");
  return Studio::Of(*Studio::Find("fraHandEdit"));
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

/// The progress of a command whose dialog the user has closed.
QImage ProgressInStatusBar() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  QImage picture;
  studio.WhenProgress(
      60, [&studio] { studio.Press("Cmd_btn_program"); },
      [&studio, &picture] {
        fenwright::ui::QtMessageDialog& dialog = studio.Run().MessageDialog();
        dialog.reject();
        dialog.SetProgress(dialog.findChild<QProgressBar*>("ProgBar")->value());
        picture = Window(studio);
      });
  return picture;
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

QImage BadFile() {
  Studio studio;
  studio.Files().Files["/home/user/avr/broken.hex"] =
      ":020000000cC09D\r\n:02000200FFFF00\r\n:00000001FF\r\n";
  studio.Open("/home/user/avr/broken.hex");
  return Window(studio);
}

QImage OpenDialog() {
  Studio studio;
  return Studio::OfModal([&studio] { studio.Press("Cmd_btn_open"); });
}

QImage Guide(const std::string& device) {
  Studio studio({.Device = device, .Chip = device});
  studio.Press("mmuIndex");
  return Studio::Of(*Studio::Find("frmIndex"));
}

QImage WindowWithGuide() {
  Studio studio;
  studio.Press("mmuIndex");
  return Window(studio);
}

QImage About() {
  Studio studio;
  return Studio::OfModal([&studio] { studio.Press("mnuHelpAbout"); });
}

QImage ComPort() {
  Studio studio;
  return Studio::OfModal([&studio] { studio.Press("Cmd_btn_comselect"); });
}

QImage FirmwareUpdate() {
  Studio studio;
  return Studio::OfModal([&studio] { studio.Press("mnuFirmwareUpdate"); });
}

/// The frame with the fuse and lock lists of a device, after its bits were read where it lets them.
QImage Fuses(const std::string& device) {
  Studio studio({.Device = device, .Chip = device.substr(0, std::string_view("AT90S1200").size())});
  auto* const read = dynamic_cast<QAbstractButton*>(Studio::Find("cmdFuseRead"));
  if (read->isEnabled()) read->click();
  studio.Run().MessageDialog().Close();
  return Studio::Of(*Studio::Find("fraFuse"));
}

/// The settings with fuses that were changed, and what they do in words.
QImage ChangedFuses() {
  Studio studio({.Device = "ATtiny26L", .Chip = "ATtiny26L"});
  for (const auto& [name, item] : {std::pair("Combo_CKSEL", 15), std::pair("Combo_PLLCK", 0),
                                   std::pair("Combo_RSTDISABL", 0)}) {
    dynamic_cast<QComboBox*>(Studio::Find(name))->setCurrentIndex(item);
  }
  return Window(studio);
}

/// Every picture that there is; a new window or state gets its row here.
const std::vector<Picture>& Pictures() {
  static const std::vector<Picture> kPictures{
      {"window-start", Start},
      {"window-program", Programmed},
      {"window-read", Read},
      {"window-verify", VerifyFailed},
      {"window-verify-1024",
       [] {
         return InRoom({1024, 720}, true);
       }},
      {"window-verify-1366",
       [] {
         return InRoom({1366, 720}, true);
       }},
      {"window-verify-1600",
       [] {
         return InRoom({1600, 940}, false);
       }},
      {"window-bad-file", BadFile},
      {"window-hand-edit", HandEdit},
      {"window-guide", WindowWithGuide},
      {"window-progress", ProgressInStatusBar},
      {"guide", [] { return Guide("AT90S2313"); }},
      {"guide-a", [] { return Guide("ATtiny12L"); }},
      {"guide-b", [] { return Guide("ATtiny26L"); }},
      {"guide-d", [] { return Guide("AT90S4433"); }},
      {"guide-e", [] { return Guide("AT90S8515"); }},
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
      {"dialog-com", ComPort},
      {"dialog-update", FirmwareUpdate},
      {"window-fuses", ChangedFuses},
      {"fuses", [] { return Fuses("ATtiny26L"); }},
  };
  return kPictures;
}

void UseDarkPalette() {
  QPalette palette(QColor(0x35, 0x35, 0x35), QColor(0x2B, 0x2B, 0x2B));
  palette.setColor(QPalette::Base, QColor(0x20, 0x20, 0x20));
  palette.setColor(QPalette::AlternateBase, QColor(0x2B, 0x2B, 0x2B));
  palette.setColor(QPalette::WindowText, Qt::white);
  palette.setColor(QPalette::Text, Qt::white);
  palette.setColor(QPalette::ButtonText, Qt::white);
  palette.setColor(QPalette::ToolTipBase, QColor(0x35, 0x35, 0x35));
  palette.setColor(QPalette::ToolTipText, Qt::white);
  palette.setColor(QPalette::Highlight, QColor(0x2A, 0x82, 0xDA));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, QColor(0x8A, 0x8A, 0x8A));
  }
  QApplication::setPalette(palette);
}

int Take(const QString& folder, const QStringList& names) {
  if (!QDir().mkpath(folder)) {
    std::cerr << "fenwright-pictures: " << folder.toStdString() << " cannot be made\n";
    return 1;
  }
  for (const Picture& picture : Pictures()) {
    if (!names.isEmpty() && !names.contains(picture.Name)) continue;
    const QImage image = picture.Take();
    const QString path = folder + '/' + picture.Name + ".png";
    if (image.isNull() || !image.convertToFormat(QImage::Format_RGB32).save(path)) {
      std::cerr << "fenwright-pictures: " << picture.Name << " could not be taken\n";
      return 1;
    }
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  QCoreApplication::setApplicationName(fenwright::ui::ToQString(fenwright::core::kApplicationName));
  QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
  QTranslator own_texts_of_qt;
  if (own_texts_of_qt.load("qtbase_ja", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&own_texts_of_qt);
  }
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  fenwright::ui::ApplyDarkStyle(application);
  fenwright::ui::ApplyInterfaceFont(application);

  QCommandLineParser parser;
  parser.addOptions({{"dark", "take them with a dark palette"}, {"list", "list the names"}});
  parser.addPositionalArgument("folder", "where the pictures go to");
  parser.addPositionalArgument("names", "which to take, all by default", "[names...]");
  parser.addHelpOption();
  parser.process(application);

  if (parser.isSet("list")) {
    for (const Picture& picture : Pictures()) std::cout << picture.Name << '\n';
    return 0;
  }
  QStringList names = parser.positionalArguments();
  if (names.isEmpty()) parser.showHelp(2);
  const QString folder = names.takeFirst();
  for (const QString& name : names) {
    if (std::ranges::none_of(Pictures(), [&name](const Picture& p) { return name == p.Name; })) {
      std::cerr << "fenwright-pictures: no picture " << name.toStdString() << '\n';
      return 2;
    }
  }
  if (parser.isSet("dark")) UseDarkPalette();
  return Take(folder, names);
}
