#pragma once

#include <span>
#include <string>
#include <string_view>

namespace fenwright::cli {

/// The word that a mistyped one was most likely meant to be, in any case; "" when none is close: a
/// third of its letters wrong at most, where two that are swapped count as one.
std::string ClosestWord(std::string_view word, std::span<const std::string> candidates);

/// The verb or option that other programmers' programs call by that word, "" for none.
std::string OwnWordFor(std::string_view word);

}  // namespace fenwright::cli
