#include <array>
#include <utility>

#include <QComboBox>
#include <QLineEdit>
#include <QProgressBar>

#include "pictures/pictures.h"
#include "pictures/studio.h"

namespace fenwright::pictures {
namespace {

QImage Window(Studio& studio) { return Studio::Of(studio.Run().Window()); }

/// What a window has inside at the usual sizes of a screen, with a title and a task bar.
struct Room {
  const char* Suffix;
  QSize Size;  ///< none = as at the first start
};
constexpr std::array<Room, 4> kRooms{
    {{"", {}}, {"-1024", {1024, 720}}, {"-1366", {1366, 720}}, {"-1600", {1600, 940}}}};

QImage Start(const QSize& size) {
  Studio studio;
  studio.Resize(size);
  return Window(studio);
}

QImage Opened(const QSize& size) {
  Studio studio;
  studio.Resize(size);
  studio.Open(Studio::kCounterFile);
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

/// A verify after programming, with a chip that differs or not.
QImage Verified(const QSize& size, bool spoilt) {
  Studio studio;
  studio.Resize(size);
  studio.Open(Studio::kCounterFile);
  studio.Press("Cmd_btn_program");
  if (spoilt) studio.Port().Board().Socket().SetFlashWord(0x12, 0xFFFF);
  studio.Press("Cmd_btn_verify");
  studio.Run().MessageDialog().Close();
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

QImage HandEdit() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  auto* address = dynamic_cast<QLineEdit*>(Studio::Find("txtAddress"));
  address->setText("001A");
  return Studio::Of(*Studio::Find("fraHandEdit"));
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

QImage BadFile() {
  Studio studio;
  studio.Files().Files["/home/user/avr/broken.hex"] =
      ":020000000cC09D\r\n:02000200FFFF00\r\n:00000001FF\r\n";
  studio.Open("/home/user/avr/broken.hex");
  return Window(studio);
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

/// The settings with fuses that were changed, and what they do in words.
QImage ChangedFuses(const QSize& size) {
  Studio studio({.Device = "ATtiny26L", .Chip = "ATtiny26L"});
  studio.Resize(size);
  studio.Open(Studio::kBlinkFile);
  for (const auto& [name, item] :
       {std::pair("Combo_CKSEL", 15), std::pair("Combo_SUT", 0), std::pair("Combo_BODEN", 0),
        std::pair("Combo_PLLCK", 0), std::pair("Combo_RSTDISABL", 0)}) {
    dynamic_cast<QComboBox*>(Studio::Find(name))->setCurrentIndex(item);
  }
  return Window(studio);
}

/// Another device: the buffers are blank, and a save would destroy the file.
QImage OtherDeviceChosen() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  studio.PickDevice(12);
  return Window(studio);
}

/// A word that was typed into the buffer.
QImage EditedByHand() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  dynamic_cast<QLineEdit*>(Studio::Find("txtAddress"))->setText("001A");
  dynamic_cast<QLineEdit*>(Studio::Find("txtData"))->setText("1234");
  studio.Press("CmdWrite");
  return Window(studio);
}

/// A word that cannot be one.
QImage BadHandEdit() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  dynamic_cast<QLineEdit*>(Studio::Find("txtAddress"))->setText("001A");
  dynamic_cast<QLineEdit*>(Studio::Find("txtData"))->setText("12XY");
  studio.Press("CmdWrite");
  return studio.Screen();
}

}  // namespace

std::vector<Picture> WindowPictures() {
  std::vector<Picture> pictures{
      {"window-program", Programmed},
      {"window-read", Read},
      {"window-verify", VerifyFailed},
      {"window-bad-file", BadFile},
      {"window-hand-edit", HandEdit},
      {"window-edited", EditedByHand},
      {"window-bad-edit", BadHandEdit},
      {"window-other-device", OtherDeviceChosen},
      {"window-guide", WindowWithGuide},
      {"window-progress", ProgressInStatusBar},
      {"guide", [] { return Guide("AT90S2313"); }},
      {"guide-a", [] { return Guide("ATtiny12L"); }},
      {"guide-b", [] { return Guide("ATtiny26L"); }},
      {"guide-d", [] { return Guide("AT90S4433"); }},
      {"guide-e", [] { return Guide("AT90S8515"); }},
  };
  for (const Room& room : kRooms) {
    const std::string suffix = room.Suffix;
    const QSize size = room.Size;
    pictures.push_back({"window-start" + suffix, [size] { return Start(size); }});
    pictures.push_back({"window-opened" + suffix, [size] { return Opened(size); }});
    pictures.push_back({"window-fuses" + suffix, [size] { return ChangedFuses(size); }});
    pictures.push_back({"window-verified" + suffix, [size] { return Verified(size, false); }});
    if (!suffix.empty()) {
      pictures.push_back({"window-verify" + suffix, [size] { return Verified(size, true); }});
    }
  }
  return pictures;
}

}  // namespace fenwright::pictures
