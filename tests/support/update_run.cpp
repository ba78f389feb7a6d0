#include "support/update_run.h"

namespace fenwright::testing {

BoardUpdate::BoardUpdate(board::SimulatedBoardOptions options)
    : Board(std::make_shared<board::SimulatedBoard>(std::move(options))),
      MainPort(Board, TimeOf(Clock)),
      UpdaterPort(Board, TimeOf(Clock)) {
  UpdaterPort.OnOutput = [this](std::span<const std::uint8_t> bytes) {
    Wire.insert(Wire.end(), bytes.begin(), bytes.end());
  };
  Events.OnTurn = [this] {
    BothOpen = BothOpen || (MainPort.PortOpen() && UpdaterPort.PortOpen());
  };
}

void BoardUpdate::Open() {
  update::Dialog_Update_Load(Context);
  Dialog_Update.SetPortText("3");
}

update::StartOutcome BoardUpdate::UpdateWith(std::string_view text) {
  GivenFile(text);
  Chooser.Choice = kUpdateFile;
  update::CmdOpen_Click(Context);
  return update::CmdUpdate_Click(Context);
}

}  // namespace fenwright::testing
