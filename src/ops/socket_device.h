#pragma once

#include <vector>

#include "core/run_context.h"

namespace fenwright::ops {

/// What is in the socket: reads the chip's signature, with the link check before it, and says what
/// was found. Returns the places in the selector of the devices that have it, in their order; none
/// when there is no board, no chip, or one that cannot be selected. Nothing is written to the chip.
std::vector<int> IdentifySocket(core::RunContext& context);

/// Selects a device and keeps what is in the buffers: unlike a pick in the selector, which blanks
/// them. Says so, and where the buffers hold more than the device.
void PickDeviceKeepingBuffers(core::RunContext& context, int index);

}  // namespace fenwright::ops
