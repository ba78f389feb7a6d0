#pragma once

#include <string>
#include <string_view>

#include "update/update_context.h"

namespace fenwright::update {

// The exchanges that the firmware update dialog makes with the board; docs/protocol.md has the
// board's side. Nothing is repeated and nothing is cancelled by the protocol itself. A requested
// stop (`AppState::StopRequested`) takes effect between two frames, or ends a rest or a wait.

enum class VersionOutcome { Read, PortNotOpened, NoReply };

enum class UpdateOutcome {
  Finished,
  TimedOut,  ///< no acknowledgement, or a file that cannot be read
  Mismatch,  ///< a wrong acknowledgement
  Stopped    ///< a stop was requested
};

/// Frees the COM port for the dialog: discards what `ProgrammerPort` has waiting in both
/// directions, lets it settle, and closes it.
void ReleaseMainPort(UpdateContext& context);

/// Releases the main port and sets up `UpdaterPort`, closed, from the port and speed selectors.
/// False when the port text is no 16-bit number; the caller reports that like a port that cannot
/// be opened. An unset port, "" or "?", is told in a message box and leaves the port number as it
/// was: deliberately, opening is still tried then.
bool OpenUpdaterPort(UpdateContext& context);

/// OpenUpdaterPort(), then opens the port. False when either fails: "the port could not be opened"
/// is in the status bar then.
bool OpenPort(UpdateContext& context);

/// Panel 1 of the dialog's status bar; the texts of this dialog are not traced.
void ShowStatus(UpdateContext& context, std::string_view text);

/// Drives the progress bar. "off", in any case, or a value that has reached the maximum: the bar
/// falls to the minimum. "on": range and value are set, and the bar shown, at every value that is
/// a multiple of a hundredth of the maximum, rounded to an integer. Otherwise nothing changes.
void ShowProgress(UpdateContext& context, std::string_view mode, int minimum, int maximum,
                  int value);

/// Asks the board for its version and shows the first fifteen characters of the reply.
VersionOutcome ReadVersion(UpdateContext& context);

/// Sends the words of an Intel HEX file, on the open `UpdaterPort`, and reports the outcome in the
/// dialog. The file is read when the board is in update mode, in one go, and closed before the
/// first word. A line that cannot be read, or a file, is reported like a time-out.
///
/// A requested stop ends it before the next frame. No end frame follows, not even when no word has
/// gone out: it could start the firmware of a board whose last update was broken off.
UpdateOutcome RunFirmwareUpdate(UpdateContext& context, const std::string& path);

}  // namespace fenwright::update
