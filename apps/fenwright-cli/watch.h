#pragma once

#include "code_files.h"
#include "verb.h"

namespace fenwright::cli {

/// Runs a verb once, and again each time one of its files has changed and is whole, until the user
/// stops it. Each round is a run of its own: a failed one is told and the next change waited for.
/// The code is that of the last round; that of a stop where there was none.
Outcome WatchFiles(Session& session, const Verb& verb, const VerbRun& round,
                   const CodeFiles& files);

}  // namespace fenwright::cli
