#include "core/insertion_guide.h"

#include <string>
#include <string_view>

#include "core/device_catalogue.h"

namespace fenwright::core {

void RefreshInsertionGuide(RunContext& context) {
  screen::GuideForm& guide = context.Screen.Guide;
  for (const screen::GuidePosition position : screen::kGuidePositions) guide.SetIdle(position);
  const std::string selected = context.Screen.DeviceForm.DeviceText();
  const auto mark = [&](std::string_view chip, screen::GuidePosition position) {
    if (NamesSameChip(chip, selected)) guide.SetHighlighted(position);
  };
  for (const DeviceEntry& device : DeviceCatalogue()) mark(device.ChipName, device.SocketPlace);
  // It has a place in the socket though it is not in the selector.
  mark("AT90S2333", screen::GuidePosition::D);
}

}  // namespace fenwright::core
