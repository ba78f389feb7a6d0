#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "board/simulated_serial_control.h"
#include "core/run_context.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/system/code_page.h"
#include "support/fakes.h"
#include "support/form_fakes.h"
#include "support/scripted_port.h"

namespace fenwright::testing {

/// Everything a run needs beside the serial line, all of it in memory.
class TestPlatform {
 public:
  core::AppState State;
  VirtualClock Clock;
  FakeEventLoop Events;
  FakeTextFiles Files;
  platform::Cp932CodePage CodePage;
  platform::MemorySettingsStore Settings;
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

  [[nodiscard]] std::string PanelText(screen::Panel panel) const;

 private:
  std::size_t traced_ = 0;
};

/// A run on a scripted port that is open already.
class ScriptedRun : public TestPlatform {
 public:
  ScriptedPort Port{Clock};
  core::RunContext Context = ContextOn(Port);
  ScriptedRun() { Port.StartOpen(); }
};

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

/// The time of a simulated line on a virtual clock.
board::TimeSource TimeOf(VirtualClock& clock);

/// Random bytes from a fixed seed.
Bytes RandomBytes(std::size_t count, unsigned seed);

/// An Intel HEX text of `data` from address 0, 16 bytes a record, with its end record.
std::string HexFile(const Bytes& data);

/// A fault from its text.
board::Fault MakeFault(std::string_view form);

}  // namespace fenwright::testing
