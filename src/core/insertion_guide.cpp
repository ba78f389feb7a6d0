#include "core/insertion_guide.h"

#include <string_view>

#include "core/device_catalogue.h"

namespace fenwright::core {
namespace {

/// It has a place in the socket though it is not in the selector.
constexpr std::string_view kGuideOnlyChip = "AT90S2333";
constexpr screen::GuidePosition kGuideOnlyPlace = screen::GuidePosition::D;

}  // namespace

std::vector<std::string> ChipsAt(screen::GuidePosition position) {
  std::vector<std::string> names;
  if (position == kGuideOnlyPlace) names.emplace_back(kGuideOnlyChip);
  for (const DeviceEntry& device : DeviceCatalogue()) {
    if (device.SocketPlace != position) continue;
    // Without what the name says of the clock.
    names.emplace_back(device.DisplayName.substr(0, device.DisplayName.find_first_of(" (")));
  }
  return names;
}

void RefreshInsertionGuide(RunContext& context) {
  screen::GuideForm& guide = context.Screen.Guide;
  for (const screen::GuidePosition position : screen::kGuidePositions) guide.SetIdle(position);
  const std::string selected = context.Screen.DeviceForm.DeviceText();
  const auto mark = [&](std::string_view chip, screen::GuidePosition position) {
    if (NamesSameChip(chip, selected)) guide.SetHighlighted(position);
  };
  for (const DeviceEntry& device : DeviceCatalogue()) mark(device.ChipName, device.SocketPlace);
  mark(kGuideOnlyChip, kGuideOnlyPlace);
}

}  // namespace fenwright::core
