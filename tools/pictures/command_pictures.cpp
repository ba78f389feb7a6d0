#include <stdexcept>
#include <string>

#include <QComboBox>

#include "pictures/pictures.h"
#include "pictures/studio.h"

namespace fenwright::pictures {
namespace {

/// What happens before the command whose outcome is shown.
using Before = std::function<void(Studio& studio)>;

/// The screen after a command, on a board and a chip as the options say.
QImage After(const char* button, const StudioOptions& options = {}, const Before& before = {}) {
  Studio studio(options);
  studio.Open(Studio::kCounterFile);
  if (before) before(studio);
  studio.Run().MessageDialog().Close();
  studio.Press(button);
  return studio.Screen();
}

void Program(Studio& studio) { studio.Press("Cmd_btn_program"); }

void ProgramAndSpoil(Studio& studio) {
  Program(studio);
  for (const std::uint32_t word : {0x12U, 0x1AU, 0x1BU}) {
    studio.Port().Board().Socket().SetFlashWord(word, 0xFFFF);
  }
}

void Select(const char* list, int item) {
  auto* const box = qobject_cast<QComboBox*>(Studio::Find(list));
  if (box == nullptr) throw std::runtime_error(std::string("no list ") + list);
  box->setCurrentIndex(item);
}

/// Programs the chip and protects it against reading.
void Protect(Studio& studio) {
  Program(studio);
  Select("Combo_LockBit", 0);
  studio.Press("cmdFuseWrite");
}

void Clear(Studio& studio) { studio.Press("mnuPC_buffer_clear"); }

void ChangeDevice(Studio& studio) { studio.PickDevice(12); }

board::Fault At(board::Fault::Kind what, std::uint32_t number) {
  return {.What = what, .Number = number};
}

using Kind = board::Fault::Kind;

const StudioOptions kEmptySocket{.Chip = "empty"};
const StudioOptions kOtherChip{.Chip = "ATtiny12L"};
const StudioOptions kTiny26{.Device = "ATtiny26L", .Chip = "ATtiny26L"};

/// A row of the table: the command as its button is called, and the outcome.
Picture Row(const std::string& name, const char* button, const StudioOptions& options = {},
            const Before& before = {}) {
  return {name, [=] { return After(button, options, before); }};
}

QImage FusesReadWithDifferences() {
  return After("cmdFuseRead", kTiny26, [](Studio& studio) {
    Select("Combo_CKSEL", 4);
    Select("Combo_EESAVE", 0);
    studio.Press("cmdFuseWrite");
    Select("Combo_CKSEL", 1);
    Select("Combo_EESAVE", 1);
  });
}

QImage RefusedSave() {
  Studio studio;
  studio.Open(Studio::kCounterFile);
  studio.Files().Refused = "disk full";
  return Studio::OfModal([&studio] { studio.Press("Cmd_btn_save"); });
}

QImage MissingFile() {
  Studio studio;
  studio.Open("/home/user/avr/gone.hex");
  return studio.Screen();
}

/// The offer of the button beside the selector.
QImage SocketOffer(const char* chip) {
  Studio studio({.Chip = chip});
  studio.Open(Studio::kCounterFile);
  studio.Press("cmdReadSocket");
  const QImage picture = studio.Screen();
  Studio::Find("mnuSocketDevices")->close();
  return picture;
}

QImage SocketDevicePicked() {
  Studio studio({.Chip = "AT90S2313"});
  studio.Open(Studio::kCounterFile);
  studio.Press("cmdReadSocket");
  Studio::Find("mnuSocketDevices")->close();
  studio.Press("mnuSocketDevice_7");
  return studio.Screen();
}

}  // namespace

std::vector<Picture> CommandPictures() {
  return {
      Row("after-program-success", "Cmd_btn_program"),
      Row("after-program-differs", "Cmd_btn_program", {.Faults = {At(Kind::Lie, 2)}}),
      Row("after-program-blank", "Cmd_btn_program", {}, Clear),
      Row("after-program-other-chip", "Cmd_btn_program", kOtherChip),
      Row("after-program-empty-socket", "Cmd_btn_program", kEmptySocket),
      Row("after-program-pulled-cable", "Cmd_btn_program", {.Faults = {At(Kind::HangUp, 400)}}),
      Row("after-program-lost-reply", "Cmd_btn_program", {.Faults = {At(Kind::Drop, 120)}}),
      Row("after-read-success", "Cmd_btn_read", {}, Program),
      Row("after-read-protected", "Cmd_btn_read", {}, Protect),
      Row("after-read-other-chip", "Cmd_btn_read", kOtherChip),
      Row("after-read-pulled-cable", "Cmd_btn_read", {.Faults = {At(Kind::HangUp, 400)}}),
      Row("after-verify-success", "Cmd_btn_verify", {}, Program),
      Row("after-verify-differs", "Cmd_btn_verify", {}, ProgramAndSpoil),
      Row("after-verify-protected", "Cmd_btn_verify", {}, Protect),
      Row("after-verify-blank", "Cmd_btn_verify", {}, Clear),
      Row("after-verify-other-chip", "Cmd_btn_verify", kOtherChip),
      Row("after-erase-success", "Cmd_btn_erase"),
      Row("after-erase-other-chip", "Cmd_btn_erase", kOtherChip),
      Row("after-erase-empty-socket", "Cmd_btn_erase", kEmptySocket),
      Row("after-erase-no-board", "Cmd_btn_erase", {.Faults = {At(Kind::Silent, 1)}}),
      {"after-fuse-read-differences", FusesReadWithDifferences},
      Row("after-fuse-read-other-chip", "cmdFuseRead",
          {.Device = "ATtiny26L", .Chip = "ATtiny12L"}),
      Row("after-fuse-write-success", "cmdFuseWrite", kTiny26),
      Row("after-fuse-write-danger", "cmdFuseWrite", kTiny26,
          [](Studio& /*studio*/) { Select("Combo_RSTDISABL", 0); }),
      Row("after-fuse-write-empty-socket", "cmdFuseWrite",
          {.Device = "ATtiny26L", .Chip = "empty"}),
      Row("after-open-success", "mnuReLoad"),
      {"after-open-missing", MissingFile},
      Row("after-save-success", "Cmd_btn_save"),
      Row("after-save-blank", "Cmd_btn_save", {}, ChangeDevice),
      {"after-save-refused", RefusedSave},
      Row("after-clear", "mnuPC_buffer_clear"),
      {"after-socket-same", [] { return SocketOffer("AT90S8515"); }},
      {"after-socket-other", [] { return SocketOffer("AT90S2313"); }},
      {"after-socket-empty", [] { return SocketOffer("empty"); }},
      {"after-socket-picked", SocketDevicePicked},
  };
}

}  // namespace fenwright::pictures
