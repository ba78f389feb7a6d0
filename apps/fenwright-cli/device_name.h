#pragma once

#include <string>
#include <string_view>

#include "core/sentence.h"

namespace fenwright::cli {

/// Selector index of the device that `name` stands for: its exact display name, or a part of it
/// that no other device has, in any case. -1 when there is none; `error` then names the choices.
int FindDeviceIndex(std::string_view name, core::Sentence& error);

/// The display names, one a line.
std::string ListDeviceNames();

}  // namespace fenwright::cli
