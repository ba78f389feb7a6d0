#pragma once

#include <string>

#include "core/run_context.h"
#include "image/file_commands.h"

namespace fenwright::ops {

// The user's commands, each under the handler name of the control that starts it. They are run by
// ops::RunCommand(); the state says afterwards what became of them. The choice of the COM port is
// in update/com_selection.h, the firmware update in update/update_commands.h.

/// Erases, programs and verifies the chip in the socket.
void Cmd_btn_program_Click(core::RunContext& context);

/// Reads both memories of the chip into the buffers, and its fuse and lock bits into their lists.
void Cmd_btn_read_Click(core::RunContext& context);

/// Reads the EEPROM of the chip into its buffer, and nothing else. No control of the window has it.
void ReadEepromAlone(core::RunContext& context);

/// Compares both memories of the chip with the buffers.
void Cmd_btn_verify_Click(core::RunContext& context);

/// Erases the chip.
void Cmd_btn_erase_Click(core::RunContext& context);

/// Reads the fuse, lock and calibration bytes of the chip and shows them in the fuse frame.
void cmdFuseRead_Click(core::RunContext& context);

/// Writes the fuse and lock bytes that the fuse frame stands for to the chip.
void cmdFuseWrite_Click(core::RunContext& context);

/// The user picked an item of the list of the reset pin's function: warns when it gives it away.
void Combo_RSTDISABL_Click(core::RunContext& context);

/// The user picked an entry of the device selector.
void Combo_device_Click(core::RunContext& context);

/// Blanks both buffers and applies the selected device once more, which rebuilds both views.
void mnuPC_buffer_clear_Click(core::RunContext& context);

/// Asks for a code file and opens it together with the data file beside it.
void mnuFileOpen_Click(core::RunContext& context);
void Cmd_btn_open_Click(core::RunContext& context);

/// Asks for a code file, or a data file, and opens it alone.
void mnuFileOpenCode_Click(core::RunContext& context);
void mnuFileOpenData_Click(core::RunContext& context);

/// Opens the files that were opened last once more.
void mnuReLoad_Click(core::RunContext& context);
void Cmd_btn_reload_Click(core::RunContext& context);

/// Opens a code file, given by its path, together with the data file beside it: one that was
/// dropped on the window, or named at the start.
image::OpenReport OpenPair(core::RunContext& context, const std::string& code_path);

/// Opens two files given by their paths; an empty `data_path` stands for no data file.
image::OpenReport OpenFiles(core::RunContext& context, const std::string& code_path,
                            const std::string& data_path);

/// Writes both buffers over the files that were opened last, without asking.
void mnuFileSave_Click(core::RunContext& context);
void Cmd_btn_save_Click(core::RunContext& context);

/// Ask for a name, and about overwriting, and write both buffers or one.
void mnuFileSaveAs_Click(core::RunContext& context);
void mnuFileSaveAsCode_Click(core::RunContext& context);
void mnuFileSaveAsData_Click(core::RunContext& context);

/// Shows, or changes, the cell that the hand-edit frame names.
void CmdRead_Click(core::RunContext& context);
void txtAddress_Change(core::RunContext& context);
void CmdWrite_Click(core::RunContext& context);

}  // namespace fenwright::ops
