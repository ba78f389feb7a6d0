#pragma once

#include <string>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::ops {

/// The verify report in the program's folder, rewritten by every run.
inline constexpr std::string_view kVerifyReportFile = "avrvfy.txt";

/// A line of the report.
std::string DescribeDifference(const core::Difference& difference);

/// Reads the used part of both memories back, compares it with the buffers, writes every
/// difference to the report and ends with one summary for the user.
void VerifyDevice(core::RunContext& context);

}  // namespace fenwright::ops
