#pragma once

#include <string>

#include "core/run_context.h"
#include "platform/single_instance.h"
#include "screen/main_form.h"

namespace fenwright::ops {

/// What the program knows when it starts.
struct StartOptions {
  std::string AppFolder;  ///< folder of trace, dumps and report, with its separator at the end
  std::string CommandArgument;  ///< code file that the user wants opened first, "" = none
};

/// Prepares a run without windows: deletes the old trace, blanks the buffers, fills the device
/// selector and restores the stored device. The views must exist. A front end that finishes this
/// opens `AppState::CommandArgument` next, if there is one. A stored device that is no number, or
/// not in the selector (-1 = none selected), ends it with BadSetting.
void Start(core::RunContext& context, const StartOptions& options);

/// The same with windows: the whole start procedure, in its order. It ends at once and silently,
/// with AnotherInstance, when the program is running already; a null `instance` stands for a system
/// on which other runs do not matter. Any stored number that is none ends it with BadSetting, like
/// the device.
void StartWindow(core::RunContext& context, screen::MainForm& form,
                 platform::SingleInstance* instance, const StartOptions& options);

}  // namespace fenwright::ops
