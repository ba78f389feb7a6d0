#pragma once

#include "core/run_context.h"

namespace fenwright::ops {

/// Applies the device in the selector: loads its sizes, its code and its fuse fields with their
/// defaults, stores the selection, shows the sizes, rebuilds both dumps and views, and shows the
/// device's frame. The buffers stay as they are. It never fails; with nothing selected only the
/// stored index changes.
void ShowDeviceInfo(core::RunContext& context);

/// What a pick in the selector does: applies the device, blanks both buffers and marks the place of
/// the chip in the insertion guide. A change of chip always discards the loaded image.
void PickDevice(core::RunContext& context);

}  // namespace fenwright::ops
