#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "core/run_context.h"
#include "screen/update_form.h"

namespace fenwright::update {

/// What the dialog is doing. One thing runs at a time; whatever is pressed meanwhile is ignored.
enum class Activity {
  Idle,
  Busy,     ///< a handler is on the stack; ending it early harms nothing
  Updating  ///< words are on their way: ending it leaves the board without a whole firmware
};

/// The fields of the dialog; they live as long as it.
struct UpdateState {
  std::string UpdateFilePath;     ///< full path of the chosen file, "" = none
  std::int16_t UpdateFailed = 0;  ///< -1 when a version read or an update ran out of time
  std::array<std::uint8_t, 1> VersionRequest{0x3F};
  std::array<std::uint8_t, 4> UpdateFrame{};
  std::vector<std::uint8_t> ReceiveBuffer;  ///< what the board sent, as taken in one go

  // What the front ends need beside the fields above.
  Activity Now = Activity::Idle;
  std::int32_t WordsSent = 0;         ///< frames that the running or last update has sent
  bool WrongAcknowledgement = false;  ///< the last update was ended by one, and the label says so
  double StreamSeconds = 0;           ///< time from its first word to its last
  platform::PortOpenResult LastPortOpen;  ///< outcome of the last opening of `UpdaterPort`
};

/// All that the dialog's procedures may touch. `UpdaterPort` is the dialog's own serial control,
/// its `MSComm100`; `ProgrammerPort` is closed while it is open. Message boxes and the file chooser
/// are the dialog's, so that they stand before it. It owns nothing.
struct UpdateContext {
  core::RunContext& Run;
  UpdateState& State;
  platform::SerialControl& UpdaterPort;
  screen::UpdateForm& Form;
  screen::MessageBoxes& MessageBoxes;
  screen::FileDialogs& CommonDialog100;
};

}  // namespace fenwright::update
