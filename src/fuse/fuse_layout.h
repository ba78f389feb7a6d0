#pragma once

#include "core/run_context.h"
#include "screen/fuse_form.h"

namespace fenwright::fuse {

/// Fills a list with its items for the selected device, selects the default and enables it. Without
/// the field, or on a device that the list does not know, it holds "-" alone and is disabled.
void BuildFuseList(core::RunContext& context, screen::FuseList list, bool has_field);

/// Rebuilds every list of the fuse frame for the selected device, with its defaults, and loads the
/// device's sizes and code. While the selector is empty it changes nothing; for a name that is no
/// device the sizes become 0, no list has a field, the lock list is hidden and both buttons are
/// disabled.
void ApplyFuseLayout(core::RunContext& context);

/// Hides the frame for its own lifetime, so that nobody sees half-changed lists.
class HiddenFuseFrame {
 public:
  explicit HiddenFuseFrame(core::RunContext& context) : form_(context.Screen.Fuses) {
    form_.SetFrameVisible(false);
  }
  ~HiddenFuseFrame() { form_.SetFrameVisible(true); }
  HiddenFuseFrame(const HiddenFuseFrame&) = delete;
  HiddenFuseFrame& operator=(const HiddenFuseFrame&) = delete;

 private:
  screen::FuseForm& form_;
};

}  // namespace fenwright::fuse
