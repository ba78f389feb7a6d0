#include "image/device_change.h"

#include "core/device_selection.h"
#include "core/insertion_guide.h"
#include "image/buffers.h"
#include "image/dump_files.h"

namespace fenwright::image {

void ShowDeviceInfo(core::RunContext& context) {
  core::LoadSelectedDevice(context);
  core::StoreSelectedDevice(context);
  core::ShowMemorySizes(context);
  RefreshFlashView(context);
  RefreshEepromView(context);
  context.DeviceForm.ShowDeviceFrame();
}

void PickDevice(core::RunContext& context) {
  ShowDeviceInfo(context);
  context.Events.ProcessPendingEvents();
  ClearFlashBuffer(context.State);
  ClearEepromBuffer(context.State);
  WriteFlashDump(context);
  WriteEepromDump(context);
  LoadFlashView(context);
  LoadEepromView(context);
  context.Events.ProcessPendingEvents();
  core::RefreshInsertionGuide(context);
}

}  // namespace fenwright::image
