#pragma once

#include <vector>

#include "core/run_context.h"

namespace fenwright::ops {

/// What was found in the socket.
struct SocketContent {
  bool Read = false;         ///< a chip gave a signature
  std::vector<int> Devices;  ///< places in the selector of those that have it, in their order
};

/// What is in the socket: reads the chip's signature, with the link check before it, and says what
/// was found. Nothing is written to the chip.
SocketContent IdentifySocket(core::RunContext& context);

/// Selects a device and keeps what is in the buffers: unlike a pick in the selector, which blanks
/// them. Says so, and where the buffers hold more than the device.
void PickDeviceKeepingBuffers(core::RunContext& context, int index);

}  // namespace fenwright::ops
