#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "core/device_catalogue.h"
#include "core/sentence.h"

namespace fenwright::cli {

/// Selector index of the device that `name` stands for: its exact display name, its alias, or a
/// part of the display name that no other device has, in any case. -1 when there is none; `error`
/// then names the choices.
int FindDeviceIndex(std::string_view name, core::Sentence& error);

/// What the JSON tells of a device: see docs/json.md.
nlohmann::json DeviceAsJson(const core::DeviceEntry& device);

/// The display names, one a line.
std::string ListDeviceNames();

}  // namespace fenwright::cli
