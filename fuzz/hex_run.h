#pragma once

#include "core/device_selection.h"
#include "image/buffers.h"
#include "support/test_run.h"

namespace fenwright::fuzz {

/// A run without a board, on a device whose buffers are blank; nothing has been shown or dumped.
class HexRun : public testing::TestPlatform {
 public:
  explicit HexRun(std::string_view device) {
    Form.ForcedText = device;
    core::LoadSelectedDevice(Context);
    image::ClearFlashBuffer(State);
    image::ClearEepromBuffer(State);
  }

 private:
  testing::ScriptedPort port_{Clock};

 public:
  core::RunContext Context = ContextOn(port_);
};

}  // namespace fenwright::fuzz
