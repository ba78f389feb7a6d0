#pragma once

#include "core/device_catalogue.h"
#include "core/run_context.h"

namespace fenwright::core {

/// Fills the device selector with the catalogue's display names, in order.
void PopulateDeviceSelector(RunContext& context);

/// Sets sizes and device code of the selector's text; all 0 for a name that is in no row. An
/// empty text changes nothing.
void LoadSelectedDevice(RunContext& context);

/// The row of the selector's text, or null.
const DeviceEntry* SelectedDevice(const RunContext& context);

/// Stores the selector index as the device of the next start.
void StoreSelectedDevice(RunContext& context);

/// Shows the sizes of the selected device's memories in the two labels.
void ShowMemorySizes(RunContext& context);

}  // namespace fenwright::core
