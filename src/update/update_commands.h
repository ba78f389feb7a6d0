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
void Load(UpdateContext& context);

/// An item of the port selector was picked: its text is stored, under a key that Load() does not
/// read.
void PickPort(UpdateContext& context);

/// An item of the speed selector was picked.
void PickSpeed(UpdateContext& context);

/// Asks for the update file. Below its name stands what is wrong with it, if anything is.
void ChooseUpdateFile(UpdateContext& context);

/// Reads the board's version.
void ReadVersionPressed(UpdateContext& context);

/// Starts the update. `CmdVersion` stays disabled from then on, until the dialog is opened again.
StartOutcome StartUpdate(UpdateContext& context);

/// Gives the COM port back to the main window, on every way out of the dialog. The main port is
/// opened even when nothing had been sent, and even when it was closed when the dialog opened.
void Unload(UpdateContext& context);

}  // namespace fenwright::update
