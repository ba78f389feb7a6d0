#pragma once

#include "core/run_context.h"
#include "screen/main_form.h"

namespace fenwright::ops {

// What the program does when its main window closes. Errors are ignored.

/// Before the window closes: stores where the two views are, unless the window is minimised.
void QueryUnload(core::RunContext& context, const screen::MainForm& form);

/// The window closes: deletes the temporary files, stores where the guide and the window are,
/// unless the window is minimised, and unloads the other windows. The trace stays.
void Unload(core::RunContext& context, screen::MainForm& form);

/// Deletes both dump files and the verify report.
void DeleteTemporaryFiles(core::RunContext& context);

}  // namespace fenwright::ops
