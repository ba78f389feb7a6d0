#include "core/insertion_guide.h"

#include <array>
#include <string>
#include <string_view>

#include "core/device_catalogue.h"

namespace fenwright::core {
namespace {

using screen::GuidePosition;

struct GuideEntry {
  std::string_view Device;
  GuidePosition Position;
};

// The AT90S2333 has a place in the socket though it is not in the selector.
constexpr std::array<GuideEntry, 13> kGuideEntries{{
    {.Device = "ATtiny12L", .Position = GuidePosition::A},
    {.Device = "ATtiny15L", .Position = GuidePosition::A},
    {.Device = "ATtiny26L", .Position = GuidePosition::B},
    {.Device = "AT90S2323", .Position = GuidePosition::A},
    {.Device = "AT90S2343", .Position = GuidePosition::A},
    {.Device = "AT90S1200", .Position = GuidePosition::C},
    {.Device = "AT90S2313", .Position = GuidePosition::C},
    {.Device = "AT90S2333", .Position = GuidePosition::D},
    {.Device = "AT90S4433", .Position = GuidePosition::D},
    {.Device = "AT90S4414", .Position = GuidePosition::E},
    {.Device = "AT90S4434", .Position = GuidePosition::E},
    {.Device = "AT90S8515", .Position = GuidePosition::E},
    {.Device = "AT90S8535", .Position = GuidePosition::E},
}};

}  // namespace

void RefreshInsertionGuide(RunContext& context) {
  for (const GuidePosition position : screen::kGuidePositions)
    context.Screen.Guide.SetIdle(position);
  const std::string selected = context.Screen.DeviceForm.DeviceText();
  for (const GuideEntry& entry : kGuideEntries) {
    if (NamesSameChip(entry.Device, selected)) context.Screen.Guide.SetHighlighted(entry.Position);
  }
}

}  // namespace fenwright::core
