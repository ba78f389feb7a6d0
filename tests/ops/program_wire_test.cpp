// Whole Program runs, pinned byte for byte: the wire, the trace, the dumps and the report, for each
// of the thirteen devices. What is expected is put together here from the procedure's description.

#include <cstdio>

#include "core/device_catalogue.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "support/traces.h"

namespace fenwright::testing {
namespace {

struct DeviceRow {
  std::string_view Name;
  std::uint8_t Code;
  std::size_t FlashWords;
  std::size_t EepromBytes;
  const char* Signature;
};

/// In the selector's order.
constexpr DeviceRow kDevices[] = {
    {"ATtiny12L", 0x55, 512, 64, "1E:90:05"},
    {"ATtiny15L", 0x56, 512, 64, "1E:90:06"},
    {"ATtiny26L", 0x59, 1024, 128, "1E:91:09"},
    {"AT90S2323", 0x48, 1024, 128, "1E:91:02"},
    {"AT90S2343", 0x4C, 1024, 128, "1E:91:03"},
    {"AT90S1200 (外部ｸﾛｯｸ)", 0x13, 512, 64, "1E:90:01"},
    {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", 0x13, 512, 64, "1E:90:01"},
    {"AT90S2313", 0x20, 1024, 128, "1E:91:01"},
    {"AT90S4433", 0x30, 2048, 256, "1E:92:03"},
    {"AT90S4414", 0x28, 2048, 256, "1E:92:01"},
    {"AT90S4434", 0x6C, 2048, 256, "1E:92:02"},
    {"AT90S8515", 0x38, 4096, 512, "1E:93:01"},
    {"AT90S8535", 0x68, 4096, 512, "1E:93:03"},
};

/// Bytes of a wire transcript, put together piece by piece.
class Transcript {
 public:
  Transcript& Add(std::initializer_list<int> bytes) {
    for (const int byte : bytes) all_.push_back(static_cast<std::uint8_t>(byte));
    return *this;
  }
  Transcript& LinkCheck(std::uint8_t code) { return Add({0x1B, '?', '?', 'A', 'T', code, 0x1B}); }
  Transcript& SignatureSession() { return Add({'A', 'P', 's', 'L'}); }
  Transcript& Erase() { return Add({'A', 'P', 'e', 'L'}); }
  Transcript& WriteFlash(const DeviceRow& device, const Bytes& flash) {
    Add({'A', 'P', 'a', 0, 0});
    for (std::size_t i = 0; i < flash.size(); i += 2) {
      if (device.Name == "ATtiny26L") {
        Add({'W', flash[i], flash[i + 1]});
      } else {
        Add({'c', flash[i], 'C', flash[i + 1]});
      }
    }
    return Add({'L'});
  }
  Transcript& WriteEeprom(const Bytes& eeprom) {
    Add({'A', 'P'});
    for (std::size_t i = 0; i < eeprom.size(); ++i) {
      if (eeprom[i] == 0xFF) continue;
      Add({'a', static_cast<int>(i / 256), static_cast<int>(i % 256), 'D', eeprom[i]});
    }
    return Add({'L'});
  }
  Transcript& Verify(std::size_t words, std::size_t bytes) {
    Add({'A', 'P', 'a', 0, 0});
    for (std::size_t i = 0; i < words; ++i) Add({'R'});
    Add({'L', 'A', 'P'});
    for (std::size_t i = 0; i < bytes; ++i) {
      Add({'a', static_cast<int>(i / 256), static_cast<int>(i % 256), 'd'});
    }
    return Add({'L'});
  }
  [[nodiscard]] const Bytes& All() const { return all_; }

 private:
  Bytes all_;
};

Transcript WholeRun(const DeviceRow& device, const Bytes& flash, const Bytes& eeprom) {
  Transcript wire;
  wire.LinkCheck(device.Code).SignatureSession().Erase().SignatureSession();
  wire.WriteFlash(device, flash).WriteEeprom(eeprom);
  wire.Verify(flash.size() / 2, eeprom.size());
  return wire;
}

Texts ProgramTrace(const DeviceRow& device, const std::string& seconds) {
  return Joined<Texts>({{"\r\n>>>>> START <<<<<", ""},
                        LinkCheckTrace(device.Code),
                        SignatureTrace(device.Signature),
                        PhaseTrace("チップ イレース中....."),
                        {"フラッシュプログラムメモリ プログラム中....."},
                        SignatureTrace(device.Signature),
                        PhaseTrace("フラッシュプログラムメモリ プログラム中....."),
                        PhaseTrace("ＥＥＰＲＯＭデータメモリ プログラム中....."),
                        {"フラッシュメモリ ベリファイ中....."},
                        PhaseTrace("フラッシュメモリ ベリファイ中....."),
                        PhaseTrace("ＥＥＰＲＯＭデータメモリ ベリファイ中....."),
                        {"ベリファイ　FLASH : OK / EEPROM : OK 　プログラミング正常終了。",
                         "ベリファイ　FLASH : OK / EEPROM : OK", seconds}});
}

std::string ExpectedDump(const Bytes& bytes, std::size_t cell) {
  std::string text;
  char piece[16];
  for (std::size_t line = 0; line < bytes.size(); line += 16) {
    std::snprintf(piece, sizeof piece, "%04X: ", static_cast<unsigned>(line / cell));
    text += piece;
    for (std::size_t i = 0; i < 16; ++i) {
      std::snprintf(piece, sizeof piece, "%02X", static_cast<unsigned>(bytes[line + i]));
      text += piece;
      if (i % cell == cell - 1) text += ' ';
    }
    for (std::size_t i = 0; i < 16; ++i) {
      const char character = static_cast<char>(bytes[line + i]);
      text += bytes[line + i] >= 32 && bytes[line + i] <= 126 ? character : '\xA5';
    }
    text += "\r\n";
  }
  return text;
}

/// High byte first, as the buffer and the dump have it.
Bytes Swapped(Bytes bytes) {
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  return bytes;
}

/// Of the catalogue's devices; each has to have its row.
class ProgramOnEveryDevice : public TestWithParam<core::DeviceEntry> {
 protected:
  static const DeviceRow& Row() {
    const auto row = std::ranges::find(kDevices, GetParam().DisplayName,
                                       [](const DeviceRow& each) { return each.Name; });
    if (row == std::end(kDevices)) throw std::runtime_error("a device without expectations");
    return *row;
  }
};

TEST_P(ProgramOnEveryDevice, SendsTheDescribedBytesAndLeavesTheImageInTheChip) {
  const DeviceRow& device = Row();
  BoardRun run(device.Name);
  const Bytes flash = FullImage(2 * device.FlashWords, device.Code);
  const Bytes eeprom = FullImage(device.EepromBytes, device.Code + 1U);
  run.LoadImage(flash, eeprom);

  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_program_Click), CommandEnding::Finished);

  EXPECT_EQ(run.Wire, WholeRun(device, flash, eeprom).All());
  Bytes image = flash;
  image.insert(image.end(), eeprom.begin(), eeprom.end());
  EXPECT_EQ(run.Chip().BinaryImage(), image);
  EXPECT_TRUE(ops::Succeeded(run.State));
  EXPECT_EQ(run.State.LinkError, 0);
}

TEST_P(ProgramOnEveryDevice, WritesTheDescribedTraceDumpsAndReport) {
  const DeviceRow& device = Row();
  BoardRun run(device.Name, {.Baud = 0});
  const Bytes flash = FullImage(2 * device.FlashWords, 7);
  const Bytes eeprom = FullImage(device.EepromBytes, 8);
  run.LoadImage(flash, eeprom);

  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);

  EXPECT_EQ(run.NewTrace(), ProgramTrace(device, run.PanelText(Panel::Elapsed)));
  EXPECT_EQ(run.Files.Files["/app/avrhex.txt"], ExpectedDump(Swapped(flash), 2));
  EXPECT_EQ(run.Files.Files["/app/avreep.txt"], ExpectedDump(eeprom, 1));
  EXPECT_EQ(run.Files.Files["/app/avrvfy.txt"],
            "Flash Program memory address verify\r\n\r\n"
            "\r\nEEPROM data memory address verify\r\n\r\n");
  EXPECT_EQ(run.PanelText(Panel::Signature), device.Signature);
  EXPECT_EQ(run.PanelText(Panel::BoardVersion), "KV-LOD350  V6.38");
  EXPECT_EQ(run.PanelText(Panel::Port), "COM3");
}

INSTANTIATE_TEST_SUITE_P(Devices, ProgramOnEveryDevice, ValuesIn(core::DeviceCatalogue()),
                         [](const auto& device) {
                           std::string name(device.param.DisplayName);
                           return name.substr(0, name.find_first_of(" (")) +
                                  std::to_string(device.index);
                         });

constexpr DeviceRow kSmall = kDevices[0];

TEST(ProgramWire, BlankFlashWithEepromDataStillSendsTheFlashPhaseWithoutWords) {
  BoardRun run(kSmall.Name);
  const Bytes eeprom = FullImage(10, 3);
  run.LoadImage({}, eeprom);

  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);

  EXPECT_EQ(run.Wire, WholeRun(kSmall, {}, eeprom).All());
  EXPECT_TRUE(ops::Succeeded(run.State));
}

TEST(ProgramWire, AGapInFlashIsWrittenWordByWord) {
  BoardRun run(kSmall.Name);
  Bytes flash(64, 0xFF);
  flash[0] = 0x12;
  flash[63] = 0x34;
  run.LoadImage(flash, {});

  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);

  EXPECT_EQ(run.Wire, WholeRun(kSmall, flash, {}).All());
  EXPECT_EQ(run.State.FlashProgramCount, 32);
}

TEST(ProgramWire, AWordIsUsedWhenEitherOfItsBytesIsNotBlank) {
  BoardRun run(kSmall.Name);
  Bytes flash(8, 0xFF);
  flash[6] = 0x00;  // the low byte of word 3 alone
  run.LoadImage(flash, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(run.State.FlashProgramCount, 4);

  BoardRun other(kSmall.Name);
  flash[6] = 0xFF;
  flash[7] = 0x00;  // the high byte of word 3 alone
  other.LoadImage(flash, {});
  ops::RunCommand(other.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(other.State.FlashProgramCount, 4);
}

TEST(ProgramWire, AnEepromWhoseLastByteAloneIsUsedCostsOneWrite) {
  BoardRun run(kSmall.Name);
  Bytes eeprom(64, 0xFF);
  eeprom[63] = 0x42;
  run.LoadImage({}, eeprom);

  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);

  Transcript phase;
  phase.Add({'A', 'P', 'a', 0, 63, 'D', 0x42, 'L'});
  const Bytes expected = WholeRun(kSmall, {}, eeprom).All();
  EXPECT_EQ(run.Wire, expected);
  EXPECT_NE(std::search(expected.begin(), expected.end(), phase.All().begin(), phase.All().end()),
            expected.end());
  EXPECT_EQ(run.Chip().EepromByte(63), 0x42);
  EXPECT_EQ(run.State.EepromProgramCount, 64);
}

TEST(ProgramWire, DataBeyondTheChipIsNotProgrammed) {
  BoardRun run(kSmall.Name);
  Bytes flash(2 * 512 + 2, 0xFF);
  flash[0] = 0x11;
  flash.back() = 0x22;
  run.LoadImage(flash, {});

  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);

  EXPECT_EQ(run.State.FlashProgramCount, 1);
  EXPECT_TRUE(ops::Succeeded(run.State));
}

TEST(ProgramWire, BothBuffersBlankEraseTheChipAndSendNothingMore) {
  BoardRun run(kSmall.Name);
  run.Chip().SetFlashWord(5, 0x1234);

  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);

  Transcript wire;
  wire.LinkCheck(kSmall.Code).SignatureSession().Erase();
  EXPECT_EQ(run.Wire, wire.All());
  EXPECT_EQ(run.Chip().FlashWord(5), 0xFFFF);
  EXPECT_EQ(run.Dialog.Text, "全てのメモリは消去されました。");
  EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(run.PanelText(Panel::Status), "全てのメモリは消去されました。");
  EXPECT_TRUE(ops::Succeeded(run.State));
}

// The steps of each phase in order.

const std::string kFlashText = "フラッシュプログラムメモリ プログラム中.....";
const std::string kEepromText = "ＥＥＰＲＯＭデータメモリ プログラム中.....";
const std::string kVerifyFlashText = "フラッシュメモリ ベリファイ中.....";
const std::string kVerifyEepromText = "ＥＥＰＲＯＭデータメモリ ベリファイ中.....";
const std::string kEntered = "panel 1 Enter programming Mode P : 0D";
const std::string kLeft = "panel 1 Leave programming Mode L : 0D";

/// Two words and three bytes, the middle one blank.
struct ProgramPhases : Test, RecordedBoardRun {
  ProgramPhases() : RecordedBoardRun(kSmall.Name) {
    LoadImage({0x12, 0x34, 0x56, 0x78}, {0x11, 0xFF, 0x22});
  }
  void Program() { ops::RunCommand(Context, ops::Cmd_btn_program_Click); }
};

TEST_F(ProgramPhases, TheFlashPhaseEndsWithItsDumpItsViewAndTheDialogClosed) {
  Program();
  EXPECT_EQ(StepsOfPhase(kFlashText), (Journal{"send 50",
                                               kEntered,
                                               "send 61",
                                               "send 00",
                                               "send 00",
                                               "progress 0 of 2",
                                               "send 63",
                                               "send 12",
                                               "send 43",
                                               "send 34",
                                               "progress 1 of 2",
                                               "send 63",
                                               "send 56",
                                               "send 43",
                                               "send 78",
                                               "send 4C",
                                               kLeft,
                                               "write /app/avrhex.txt",
                                               "load flash view",
                                               "close dialog"}));
}

TEST_F(ProgramPhases, TheEepromPhaseEndsWithItsDumpItsViewAndTheDialogClosedAndTheVerifyFollows) {
  Program();
  EXPECT_EQ(StepsOfPhase(kEepromText),
            (Journal{"send 50",          kEntered,       "progress 0 of 3",
                     "send 61",          "send 00",      "send 00",
                     "send 44",          "send 11",      "progress 1 of 3",
                     "progress 2 of 3",  "send 61",      "send 00",
                     "send 02",          "send 44",      "send 22",
                     "send 4C",          kLeft,          "write /app/avreep.txt",
                     "load EEPROM view", "close dialog", "busy " + kVerifyFlashText}));
}

TEST_F(ProgramPhases, TheVerifyOfTheFlashOpensTheReportBehindTheAddress) {
  Program();
  EXPECT_EQ(
      StepsOfPhase(kVerifyFlashText),
      (Journal{"send 50", kEntered, "send 61", "send 00", "send 00", "open /app/avrvfy.txt",
               "progress 0 of 2", "send 52", "progress 1 of 2", "send 52", "send 4C", kLeft}));
}

TEST_F(ProgramPhases, AGoodResultIsShownBeforeTheReport) {
  Program();
  const std::string good = "ベリファイ　FLASH : OK / EEPROM : OK";
  EXPECT_EQ(
      EndOfPhase(kVerifyEepromText),
      (Journal{kLeft, "panel 1 " + good + " 　プログラミング正常終了。", "notice " + good,
               "clear verify view", "load verify view", "panel 5 " + PanelText(Panel::Elapsed)}));
}

TEST(ProgramPhasesThatDiffer, AreShownAfterTheReport) {
  for (const auto& [fault, result] :
       {std::pair{"stuck@flash:0:0=1", "NG / EEPROM : OK"},
        std::pair{"stuck@eeprom:0:0=0", "OK / EEPROM : NG"},
        std::pair{"stuck@flash:0:0=1 stuck@eeprom:0:0=0", "NG / EEPROM : NG"}}) {
    SCOPED_TRACE(fault);
    RecordedBoardRun run(kSmall.Name, WithFaults(fault));
    run.LoadImage({0x12, 0x34}, {0x11});
    ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
    const std::string text = std::string("ベリファイ　FLASH : ") + result;
    EXPECT_EQ(run.EndOfPhase(kVerifyEepromText),
              (Journal{kLeft, "clear verify view", "load verify view", "panel 1 " + text,
                       "notice " + text, "panel 5 " + run.PanelText(Panel::Elapsed)}));
    EXPECT_TRUE(run.Dialog.ButtonFocused);
  }
}

TEST_F(ProgramPhases, TheReportIsClosedBeforeProgrammingModeIsLeftForTheLastTime) {
  std::vector<int> open_writers;
  Port.OnOutput = [&](std::span<const std::uint8_t> bytes) {
    if (bytes.front() == 'L') open_writers.push_back(Files.OpenWriters);
  };
  Program();
  // Signature, erase, signature, both memories written; then both compared.
  EXPECT_EQ(open_writers, (std::vector<int>{0, 0, 0, 0, 0, 1, 0}));
}

TEST(ProgramWire, TheElapsedSecondsAreWholeAndFollowedByTheirUnit) {
  BoardRun run(kSmall.Name, WithFaults("late@19:2500"));
  run.LoadImage(FullImage(2, 1), {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(run.PanelText(Panel::Elapsed), "3秒");
  EXPECT_EQ(run.State.OperationStartTime, 3.0);
}

TEST(ProgramWire, SelectingAnotherDeviceTextChoosesTheWordCommand) {
  // The word command follows the selector's exact text.
  const DeviceRow& tiny26 = kDevices[2];
  BoardRun run(tiny26.Name);
  const Bytes flash = FullImage(6, 4);
  run.LoadImage(flash, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(std::count(run.Wire.begin(), run.Wire.end(), std::uint8_t{'c'}), 0);
  EXPECT_EQ(run.Wire, WholeRun(tiny26, flash, {}).All());
}

}  // namespace
}  // namespace fenwright::testing
