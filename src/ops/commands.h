#pragma once

#include <string>

#include "core/command.h"
#include "core/run_context.h"
#include "image/file_commands.h"
#include "image/save_commands.h"
#include "ops/start_procedure.h"

namespace fenwright::ops {

// The user's commands: the window, the command line and the tests all enter here. Each runs under
// the guard of core::RunCommand(), so none can start while another runs. The one that comes first
// is in ops/start_procedure.h.

/// What became of an open command.
struct OpenResult {
  core::CommandEnding Ending = core::CommandEnding::Finished;
  bool Chosen = true;  ///< false when the user cancelled the dialog
  image::OpenReport Report;
};

/// What became of a save command.
struct SaveResult {
  core::CommandEnding Ending = core::CommandEnding::Finished;
  image::SaveReport Report;
};

/// The user picked an entry of the device selector.
core::CommandEnding PickDeviceCommand(core::RunContext& context);

/// Blanks both buffers and applies the selected device once more, which rebuilds both views.
core::CommandEnding ClearBuffersCommand(core::RunContext& context);

/// What choosing the COM port from the menu does before the dialog comes up: it leaves a line in
/// the trace.
core::CommandEnding TracePortMenuCommand(core::RunContext& context);

/// Asks for a code file and opens it together with the data file beside it.
OpenResult OpenBothCommand(core::RunContext& context);

/// Opens a code file, given by its path, together with the data file beside it.
OpenResult OpenBothCommand(core::RunContext& context, const std::string& code_path);

/// Opens two files given by their paths; an empty `data_path` stands for no data file.
OpenResult OpenBothCommand(core::RunContext& context, const std::string& code_path,
                           const std::string& data_path);

/// Asks for a code file and opens it alone.
OpenResult OpenCodeCommand(core::RunContext& context);

/// Asks for a data file and opens it alone.
OpenResult OpenDataCommand(core::RunContext& context);

/// Opens the files that were opened last once more.
OpenResult ReloadCommand(core::RunContext& context);

/// Writes both buffers over the files that were opened last, without asking.
SaveResult SaveCommand(core::RunContext& context);

/// Ask for a name, and about overwriting, and write one buffer or both.
SaveResult SaveCodeAsCommand(core::RunContext& context);
SaveResult SaveDataAsCommand(core::RunContext& context);
SaveResult SaveBothAsCommand(core::RunContext& context);

/// Shows, or changes, the cell that the hand-edit frame names.
core::CommandEnding ReadOneLocationCommand(core::RunContext& context);
core::CommandEnding WriteOneLocationCommand(core::RunContext& context);

/// Erases, programs and verifies the chip in the socket.
core::CommandEnding ProgramCommand(core::RunContext& context);

/// Reads both memories of the chip into the buffers, and its fuse and lock bits into their lists.
core::CommandEnding ReadCommand(core::RunContext& context);

/// Compares both memories of the chip with the buffers.
core::CommandEnding VerifyCommand(core::RunContext& context);

/// Erases the chip.
core::CommandEnding EraseCommand(core::RunContext& context);

/// Reads the fuse, lock and calibration bytes of the chip and shows them in the fuse frame.
core::CommandEnding ReadFusesCommand(core::RunContext& context);

/// Writes the fuse and lock bytes that the fuse frame stands for to the chip.
core::CommandEnding WriteFusesCommand(core::RunContext& context);

/// The user picked an item of the list of the reset pin's function: warns when it gives it away.
core::CommandEnding PickRstDisableCommand(core::RunContext& context);

}  // namespace fenwright::ops
