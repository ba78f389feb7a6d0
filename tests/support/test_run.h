#pragma once

#include "board/simulated_serial_control.h"
#include "core/command_end.h"
#include "core/run_context.h"
#include "core/settings_keys.h"
#include "platform/system/code_page.h"
#include "support/fakes.h"
#include "support/form_fakes.h"
#include "support/scripted_port.h"

namespace fenwright {}  // namespace fenwright

namespace fenwright {

using core::CommandEnding;

}  // namespace fenwright

namespace fenwright::testing {

/// Everything a run needs beside the serial line, all of it in memory.
class TestPlatform {
 public:
  core::AppState State;
  VirtualClock Clock;
  FakeEventLoop Events;
  FakeTextFiles Files;
  FakeArchive Archive{Files};  ///< used once a test has put it into the context
  platform::Cp932CodePage CodePage;
  FakeSettings Settings;
  FakeStatusBar StatusBar;
  FakeMessageDialog Dialog;
  FakeMessageBoxes Boxes;
  FakeFileDialogs FileDialogs;
  FakeViews Views;
  FakeDeviceForm Form;
  FakeHandEditForm HandEdit;
  FakeGuideForm Guide;
  FakeFuseForm Fuses;
  FakeComForm ComForm;

  TestPlatform();
  [[nodiscard]] core::RunContext ContextOn(platform::SerialControl& port);

  /// What a test may put in place of its own: where texts are shown.
  struct Shown {
    screen::StatusBar& StatusBar;
    screen::MessageDialog& MessageDialog;
    screen::MessageBoxes& MessageBoxes;
  };
  [[nodiscard]] core::RunContext ContextOn(platform::SerialControl& port, const Shown& shown);

  /// Selects a device by its display name and applies it. The buffers become blank.
  void Select(core::RunContext& context, std::string_view display_name);

  /// A file of the run's folder in UTF-8, CR LF as they are; "" when there is none.
  [[nodiscard]] std::string FileText(std::string_view name) const;

  /// The trace's texts in order, without their times: an entry each, CR LF inside kept.
  [[nodiscard]] std::vector<std::string> Trace() const;

  /// The trace's texts since the last call of this function.
  std::vector<std::string> NewTrace();

  [[nodiscard]] std::string PanelText(Panel panel) const;

  /// What is said in English about the state that the last operation left the chip in.
  [[nodiscard]] std::string ChipState() const;

  /// Cells of a buffer from an index on, as hexadecimal pairs.
  [[nodiscard]] std::string FlashBytes(std::size_t index, std::size_t count) const {
    return ToHex(std::span(State.FlashBuffer).subspan(index, count));
  }
  [[nodiscard]] std::string EepromBytes(std::size_t index, std::size_t count) const {
    return ToHex(std::span(State.EepromBuffer).subspan(index, count));
  }
  void FillBuffers(std::uint8_t flash = 0x41, std::uint8_t eeprom = 0x42) {
    std::ranges::fill(State.FlashBuffer, flash);
    std::ranges::fill(State.EepromBuffer, eeprom);
  }
  /// Every cell of a buffer holds that byte.
  [[nodiscard]] bool FlashIs(std::uint8_t byte) const {
    return std::ranges::count(State.FlashBuffer, byte) == std::ssize(State.FlashBuffer);
  }
  [[nodiscard]] bool EepromIs(std::uint8_t byte) const {
    return std::ranges::count(State.EepromBuffer, byte) == std::ssize(State.EepromBuffer);
  }
  [[nodiscard]] bool BuffersAreBlank() const { return FlashIs(0xFF) && EepromIs(0xFF); }

  /// What is stored in the section of the program's settings, "(missing)" when nothing is.
  [[nodiscard]] std::string Stored(std::string_view key) const {
    return Settings.Read(core::kSettingsSection, key).value_or("(missing)");
  }
  void Store(std::string_view key, std::string_view value) {
    Settings.Write(core::kSettingsSection, key, value);
  }

 private:
  std::size_t traced_ = 0;
};

/// A run without a board that writes down, over all parts of the platform and the port, what is
/// done in which order.
class RecordedRun : public TestPlatform {
 public:
  Journal Recorded;
  ScriptedPort Port{Clock};
  core::RunContext Context = ContextOn(Port);
  RecordedRun();

  /// Selects a device as a pick does, and forgets what that did.
  void Start(std::string_view display_name);

  /// What has been written down since the last call.
  Journal TakeJournal() { return std::exchange(Recorded, {}); }
};

/// The same with the port open already.
class ScriptedRun : public RecordedRun {
 public:
  ScriptedRun() { Port.StartOpen(); }
};

/// The run is the test's own.
struct ScriptedTest : Test, ScriptedRun {};
struct RecordedTest : Test, RecordedRun {};

/// A run on a simulated board with a chip, started on the device of that name.
class BoardRun : public TestPlatform {
 public:
  explicit BoardRun(std::string_view device, board::SimulatedBoardOptions options = {});

  board::SimulatedSerialControl Port;
  core::RunContext Context;
  Bytes Wire;  ///< every byte sent to the board while the port was open

  [[nodiscard]] board::Chip& Chip() { return Port.Board().Socket(); }

  /// Puts a code and a data image into the buffers: flash bytes as in a HEX file, low byte first.
  void LoadImage(const Bytes& flash, const Bytes& eeprom);

  /// What the wire must carry in a whole run of the command that starts with the link check.
  [[nodiscard]] static Bytes LinkCheckBytes(std::uint8_t device_code);
};

/// The same that writes down, over all parts of the platform and the line, what is done in which
/// order: "send 41" is a byte on its way to the board.
class RecordedBoardRun : public BoardRun {
 public:
  explicit RecordedBoardRun(std::string_view device, board::SimulatedBoardOptions options = {});

  Journal Recorded;

  /// The journal without turns and without the trace's lines.
  [[nodiscard]] Journal Steps() const;
  /// The steps of the phase that shows a text when its frame has been acknowledged: those behind
  /// the last time that it is shown, up to the "A" of the next frame.
  [[nodiscard]] Journal StepsOfPhase(const std::string& text) const;
  /// The rest of them, behind the "L" that leaves programming mode.
  [[nodiscard]] Journal EndOfPhase(const std::string& text) const;
};

/// The time of a simulated line on a virtual clock.
board::TimeSource TimeOf(VirtualClock& clock);

/// Random bytes from a fixed seed.
Bytes RandomBytes(std::size_t count, unsigned seed);

/// The same with no blank byte at its end, so that all of it counts as used.
Bytes FullImage(std::size_t count, unsigned seed);

inline constexpr const char* kEndRecord = ":00000001FF\r\n";

/// A whole Intel HEX record, CR LF included.
std::string HexRecord(unsigned address, const Bytes& data, unsigned type = 0);

/// An Intel HEX text of `data` from a byte address on, 16 bytes a record, with its end record.
std::string HexFile(const Bytes& data, unsigned start = 0);

/// A fault from its text.
board::Fault MakeFault(std::string_view form);

/// A board with faults, their texts separated by blanks.
board::SimulatedBoardOptions WithFaults(const std::string& forms);

}  // namespace fenwright::testing
