#include "command_line.h"

#include <algorithm>
#include <utility>

#include "verbs.h"

namespace fenwright::cli {

CommandLine::CommandLine()
    : app_("Programs AT90S and ATtiny microcontrollers on a programmer board.", "fenwright-cli") {
  app_.require_subcommand(1);
  app_.fallthrough();
  AddOptions(app_, options_);
  for (const Verb* verb : kVerbs) {
    CLI::App* const command = app_.add_subcommand(verb->Name, verb->Description);
    calls_[command] = [this, verb, run = verb->Bind(*command)] {
      return cli::RunVerb(*verb, run, options_);
    };
  }
}

std::optional<ExitCode> CommandLine::Read(std::vector<std::string> arguments, std::ostream& output,
                                          std::ostream& errors) {
  try {
    // What is parsed goes without the program's own name, the last one first.
    std::ranges::reverse(arguments);
    if (!arguments.empty()) arguments.pop_back();
    app_.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    return app_.exit(error, output, errors) == 0 ? ExitCode::Success : ExitCode::Usage;
  }
  return std::nullopt;
}

ExitCode CommandLine::RunVerb() { return calls_.at(app_.get_subcommands().front())(); }

}  // namespace fenwright::cli
