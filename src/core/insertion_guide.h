#pragma once

#include "core/run_context.h"

namespace fenwright::core {

/// Marks in the device insertion guide where the selected device goes: every marker becomes idle,
/// then the one of the device is highlighted. Names are compared by their first nine characters,
/// so both AT90S1200 rows go to one place; a text that names no device leaves all markers idle.
void RefreshInsertionGuide(RunContext& context);

}  // namespace fenwright::core
