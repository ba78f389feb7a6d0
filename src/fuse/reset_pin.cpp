#include "fuse/reset_pin.h"

#include "core/status.h"
#include "fuse/fuse_model.h"

namespace fenwright::fuse {

using screen::FuseList;

const std::string_view kResetDisableWarning =
    "ＰＢ５またはＰＢ７リセット機能の無効「PB5:I/O」または「PB7:I/O」を選択しライトした場合、"
    "そのデバイスは、このプログラマ(Low-voltage Serial Programming mode)では"
    "アクセスできなくなります。ＯＴＰデバイスと同じ扱いとなりますので注意してください。";

bool DisablesReset(core::RunContext& context) {
  const FuseLayout& layout = LayoutOf(context.Screen.DeviceForm.DeviceText());
  return HasField(layout, FuseList::Rstdisabl) &&
         context.Screen.Fuses.SelectedIndex(FuseList::Rstdisabl) == 0;
}

void WarnOfResetDisable(core::RunContext& context) {
  if (DisablesReset(context)) {
    core::ShowMessage(context, kResetDisableWarning, screen::MessageMode::Notice,
                      screen::Outcome::Danger);
  } else if (context.State.ShownOutcome == screen::Outcome::Danger) {
    core::ShowOutcome(context, screen::Outcome::None, "");
  }
}

}  // namespace fenwright::fuse
