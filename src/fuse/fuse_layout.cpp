#include "fuse/fuse_layout.h"

#include <array>
#include <string>

#include "core/device_selection.h"
#include "fuse/fuse_bytes.h"
#include "fuse/fuse_model.h"

namespace fenwright::fuse {
namespace {

using screen::FuseList;

void BuildLockList(core::RunContext& context, const FuseLayout& layout) {
  BuildFuseList(context, FuseList::Lock, layout.LockListVisible);
  context.Screen.Fuses.SetLockListVisible(layout.LockListVisible);
  context.Screen.Fuses.EnableButtons(layout.ReadEnabled, layout.WriteEnabled);
}

}  // namespace

void BuildFuseList(core::RunContext& context, FuseList list, bool has_field) {
  screen::FuseForm& form = context.Screen.Fuses;
  const OptionList* const options =
      has_field ? OptionsOf(list, context.Screen.DeviceForm.DeviceText()) : nullptr;
  if (options) {
    form.SetItems(list, options->Items);
    form.Select(list, options->DefaultIndex);
  } else {
    form.SetItems(list, std::array{kNoField});
    form.Select(list, 0);
  }
  form.EnableList(list, options != nullptr);
}

void ApplyFuseLayout(core::RunContext& context) {
  const std::string device = context.Screen.DeviceForm.DeviceText();
  if (device.empty()) return;
  const HiddenFuseFrame hidden(context);
  core::LoadSelectedDevice(context);
  const FuseLayout& layout = LayoutOf(device);
  const auto build = [&](FuseList list) { BuildFuseList(context, list, HasField(layout, list)); };
  build(FuseList::Fstrt);
  build(FuseList::Rcen);
  build(FuseList::Rstdisabl);
  build(FuseList::Boden);
  build(FuseList::Bodlevel);
  build(FuseList::Cksel);
  context.Screen.Fuses.SetCalibrationText(layout.CalibrationCount > 0 ? "?" : kNoField);
  BuildLockList(context, layout);
  build(FuseList::Eesave);
  build(FuseList::Pllck);
  build(FuseList::Ckopt);
  build(FuseList::Sut);
  ShowFuseBytes(context);
}

}  // namespace fenwright::fuse
