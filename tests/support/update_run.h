#pragma once

#include "board/simulated_serial_control.h"
#include "support/test_run.h"
#include "update/update_commands.h"

namespace fenwright::testing {

inline constexpr const char* kUpdateFile = "/files/kvld640.hex";

/// A run of the update dialog without a window, on two ports that the derived class has.
class UpdateRun : public TestPlatform {
 public:
  FakeUpdateForm Dialog_Update;
  update::UpdateState Update;
  FakeMessageBoxes DialogBoxes;
  FakeFileDialogs Chooser;

  [[nodiscard]] update::UpdateContext UpdateContextOn(core::RunContext& run,
                                                      platform::SerialControl& updater_port) {
    return {.Run = run,
            .State = Update,
            .UpdaterPort = updater_port,
            .Form = Dialog_Update,
            .MessageBoxes = DialogBoxes,
            .CommonDialog100 = Chooser};
  }

  /// The text of the file that the updates of a test use.
  void GivenFile(std::string_view text) { Files.Files[kUpdateFile] = text; }
};

/// On two scripted ports; the main port is open.
class ScriptedUpdate : public UpdateRun {
 public:
  ScriptedPort MainPort{Clock};
  ScriptedPort UpdaterPort{Clock};
  core::RunContext Run = ContextOn(MainPort);
  update::UpdateContext Context = UpdateContextOn(Run, UpdaterPort);

  ScriptedUpdate() {
    MainPort.StartOpen();
    Dialog_Update.Port = "3";
    Dialog_Update.Speed = "57600";
  }

  /// Runs an update with a text as its file, on the updater's port, open already.
  update::UpdateOutcome RunUpdate(std::string_view text) {
    GivenFile(text);
    UpdaterPort.StartOpen();
    return update::RunFirmwareUpdate(Context, kUpdateFile);
  }
};

/// The update is the test's own.
struct UpdateTest : Test, ScriptedUpdate {
  using ScriptedUpdate::Run;
};

/// On a simulated board that both ports lead to. It goes through the dialog as a user does.
class BoardUpdate : public UpdateRun {
 public:
  explicit BoardUpdate(board::SimulatedBoardOptions options = {});

  std::shared_ptr<board::SimulatedBoard> Board;
  board::SimulatedSerialControl MainPort;
  board::SimulatedSerialControl UpdaterPort;
  core::RunContext Run = ContextOn(MainPort);
  update::UpdateContext Context = UpdateContextOn(Run, UpdaterPort);
  Bytes Wire;             ///< what the updater's port has sent
  bool BothOpen = false;  ///< at some turn both ports were open

  /// Opens the dialog, on port 3.
  void Open();
  /// Chooses the update file with that content, and presses UPDATE.
  update::StartOutcome UpdateWith(std::string_view text);
};

}  // namespace fenwright::testing
