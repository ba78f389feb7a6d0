#include "fuse/fuse_bytes.h"

#include "core/hex_format.h"

namespace fenwright::fuse {

Selection SelectionOf(core::RunContext& context) {
  return [&form = context.Screen.Fuses](screen::FuseList list) { return form.SelectedIndex(list); };
}

std::vector<core::FuseTransfer> ComposeFuseBytes(core::RunContext& context) {
  std::uint8_t fuse = context.State.FuseByte;
  std::uint8_t lock = context.State.LockByte;
  std::vector<core::FuseTransfer> bytes;
  for (const WriteStep& step : LayoutOf(context.Screen.DeviceForm.DeviceText()).WriteSteps) {
    std::uint8_t& byte = WritesLock(step.Command) ? lock : fuse;
    byte = ComposeByte(step, SelectionOf(context), byte);
    bytes.push_back({.Name = std::string(step.Caption), .Value = byte});
  }
  return bytes;
}

std::string DescribeFuseBytes(const std::vector<core::FuseTransfer>& bytes) {
  std::string text;
  for (const core::FuseTransfer& byte : bytes) {
    if (!text.empty()) text += "  ";
    text.append(byte.Name).append(" 0x").append(core::HexByte(byte.Value));
  }
  return text;
}

void ShowFuseBytes(core::RunContext& context) {
  context.Screen.Fuses.SetByteLine(DescribeFuseBytes(ComposeFuseBytes(context)));
}

}  // namespace fenwright::fuse
