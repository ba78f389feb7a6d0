#pragma once

#include <span>
#include <string_view>

#include "core/sentence.h"

namespace fenwright::cli {

/// What a word for a problem means, what to check, and what to do about it, without a board.
struct Explanation {
  std::string_view Code;
  core::Sentence Cause;
  core::Sentence Checks;
  core::Sentence Cure;
};

/// Every word that a call can end or warn with, by group.
std::span<const Explanation> Explanations();

/// The one of a word, or null.
const Explanation* FindExplanation(std::string_view code);

}  // namespace fenwright::cli
