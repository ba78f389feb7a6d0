#pragma once

#include <string>
#include <vector>

#include "core/run_context.h"

namespace fenwright::core {

/// Names of the chips that go to a place of the socket, as the guide's drawing lists them: those of
/// the catalogue, and the AT90S2333, which is not in the selector.
std::vector<std::string> ChipsAt(screen::GuidePosition position);

/// Marks in the device insertion guide where the selected device goes: every marker becomes idle,
/// then the one of the device is highlighted. Names are compared by their first nine characters,
/// so both AT90S1200 rows go to one place; a text that names no device leaves all markers idle.
void RefreshInsertionGuide(RunContext& context);

}  // namespace fenwright::core
