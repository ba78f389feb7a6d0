#pragma once

#include <string>
#include <string_view>

#include "core/sentence.h"
#include "update/update_check.h"
#include "update/update_context.h"

namespace fenwright::update {

/// The fault of a file in words, its line named; "" when there is none. The English text starts in
/// lower case, to stand behind a colon.
std::string DescribeFault(const ImageReport& report, core::Language language);

/// The first data record with an odd byte count, whose last byte goes out with the checksum; ""
/// when there is none. It is no fault: what lies behind the last byte may not matter.
std::string DescribeOddRecord(const ImageReport& report, core::Language language);

/// That a file is not named as the board's firmware files are, "kvld" and a number; "" when it is.
/// It is no fault: a file can have been renamed.
std::string DescribeForeignName(std::string_view path, core::Language language);

/// The firmware that an update which did not finish has left the board with, and what to do next.
std::string DescribeBoardState(const UpdateState& state, core::Language language);

/// Asks whether to end a running update, in words that say what happens to the board: it depends
/// on whether a word has been sent.
std::string StopQuestion(const UpdateState& state);

}  // namespace fenwright::update
