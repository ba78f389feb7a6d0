#include <string_view>
#include <utility>

#include <QAbstractButton>

#include "core/device_catalogue.h"
#include "pictures/pictures.h"
#include "pictures/studio.h"

namespace fenwright::pictures {
namespace {

/// The frame with the fuse and lock lists of a device, after its bits were read where it lets them.
QImage Fuses(const std::string& device) {
  Studio studio({.Device = device, .Chip = device.substr(0, std::string_view("AT90S1200").size())});
  auto* const read = dynamic_cast<QAbstractButton*>(Studio::Find("cmdFuseRead"));
  if (read->isEnabled()) read->click();
  studio.Run().MessageDialog().Close();
  return Studio::Of(*Studio::Find("fraFuse"));
}

/// "ATtiny12L" and "AT90S1200A" of what the selector says.
std::string ShortName(const std::string& display_name) {
  return display_name.substr(0, display_name.find_first_of(" ("));
}

}  // namespace

std::vector<Picture> FusePictures() {
  std::vector<Picture> pictures{{"fuses", [] { return Fuses("ATtiny26L"); }}};
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    const std::string name(device.DisplayName);
    pictures.push_back({"fuses-" + ShortName(name), [name] { return Fuses(name); }});
  }
  return pictures;
}

std::vector<Picture> AllPictures() {
  std::vector<Picture> all;
  for (const auto& group : {WindowPictures, DialogPictures, CommandPictures, FusePictures}) {
    for (Picture& picture : group()) all.push_back(std::move(picture));
  }
  return all;
}

}  // namespace fenwright::pictures
