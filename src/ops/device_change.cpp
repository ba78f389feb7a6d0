#include "ops/device_change.h"

#include "core/device_selection.h"
#include "core/insertion_guide.h"
#include "fuse/fuse_layout.h"
#include "image/buffers.h"
#include "image/dump_files.h"

namespace fenwright::ops {

void ShowDeviceInfo(core::RunContext& context) {
  fuse::ApplyFuseLayout(context);
  core::StoreSelectedDevice(context);
  core::ShowMemorySizes(context);
  image::RefreshFlashView(context);
  image::RefreshEepromView(context);
  context.Screen.DeviceForm.ShowDeviceFrame();
}

void PickDevice(core::RunContext& context) {
  ShowDeviceInfo(context);
  context.Line.Events.ProcessPendingEvents();
  image::ClearFlashBuffer(context.State);
  image::ClearEepromBuffer(context.State);
  image::WriteFlashDump(context);
  image::WriteEepromDump(context);
  image::LoadFlashView(context);
  image::LoadEepromView(context);
  context.Line.Events.ProcessPendingEvents();
  core::RefreshInsertionGuide(context);
}

}  // namespace fenwright::ops
