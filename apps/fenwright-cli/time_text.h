#pragma once

#include <string>

#include <fmt/format.h>

#include "platform/clock.h"

namespace fenwright::cli {

/// "2026-04-01T09:30:00", local time, as files have it.
inline std::string TimeText(const platform::DateTime& now) {
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", now.Year, now.Month, now.Day, now.Hour,
                     now.Minute, now.Second);
}

}  // namespace fenwright::cli
