#pragma once

#include "update/update_context.h"
#include "update/update_protocol.h"

namespace fenwright::update {

// The handlers of the firmware update dialog. While one of them is on the stack the others do
// nothing, apart from the two that store a setting: the waits of an exchange run window events, so
// anything can be pressed in the middle of it.

/// How the update button's press ended.
enum class StartOutcome { Ignored, NoPort, NoFile, PortNotOpened, Ran };

/// Prepares the dialog: empties "LOG.txt", fills the selectors, shows the instructions. A port
/// picked in an earlier opening is remembered neither by the selector nor by `UpdaterPort`.
void Dialog_Update_Load(UpdateContext& context);

/// An item of the port selector was picked: its text is stored, under a key that
/// Dialog_Update_Load() does not read.
void Combo_ComPort_Click(UpdateContext& context);

/// An item of the speed selector was picked.
void Combo_speed_Click(UpdateContext& context);

/// Asks for the update file. Below its name stands what is wrong with it, if anything is.
void CmdOpen_Click(UpdateContext& context);

/// Reads the board's version.
void CmdVersion_Click(UpdateContext& context);

/// Starts the update. `CmdVersion` stays disabled from then on, until the dialog is opened again.
/// What the label says of a failure before makes way for the instructions.
StartOutcome CmdUpdate_Click(UpdateContext& context);

/// Gives the COM port back to the main window, on every way out of the dialog. The main port is
/// opened even when nothing had been sent, and even when it was closed when the dialog opened.
void Dialog_Update_Unload(UpdateContext& context);

}  // namespace fenwright::update
