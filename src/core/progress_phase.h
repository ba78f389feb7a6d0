#pragma once

#include "core/run_context.h"

namespace fenwright::core {

/// Keeps in `CommandRecord::RunningPhase` which phase of the running command has begun, and says it
/// below the message on the screen, with how many there are: "2 / 4 : フラッシュの書き込み".
/// Nothing is said in a command of one phase.
void ShowPhase(RunContext& context, Phase phase);

}  // namespace fenwright::core
