#pragma once

#include "verb.h"

namespace fenwright::cli {

/// True when a call names more than one board.
bool NamesSeveralBoards(const Options& options);

/// Runs the verb on every board at once, each on a thread and a session of its own, and tells what
/// each came to: lines that begin with the board's port. The code is that of the boards where they
/// agree, Stopped when the call was stopped, Failed otherwise.
ExitCode RunOnBoards(const Verb& verb, const VerbRun& run, const Options& options);

}  // namespace fenwright::cli
