#pragma once

#include <span>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "core/sentence.h"
#include "options.h"

namespace fenwright::cli {

/// What an exit code of the process means.
struct ExitMeaning {
  const char* Codes;
  const char* Japanese;
  const char* English;
};

/// All of them, in the order of the help.
std::span<const ExitMeaning> ExitMeanings();

/// The Japanese counterpart of a text that the help shows of an option or a verb. In a text of
/// several lines the last column of each is taken by itself. What has none stays as it is.
std::string JapaneseHelpOf(std::string_view english);

/// Puts the help of a complete command line into a language, with what stands below the options:
/// exit codes, what else a verb needs, examples.
void SetUpHelp(CLI::App& app, core::Language language);

/// The help of the program or of one of its verbs, whatever was called.
std::string HelpOf(const CLI::App& app);

}  // namespace fenwright::cli
