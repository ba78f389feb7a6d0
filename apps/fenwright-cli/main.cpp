#include <algorithm>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "platform/system/terminal.h"
#include "verbs.h"

namespace {

using fenwright::cli::ExitCode;

ExitCode Run(std::vector<std::string> arguments) {
  CLI::App app("Programs AT90S and ATtiny microcontrollers on a programmer board.",
               "fenwright-cli");
  app.require_subcommand(1);
  app.fallthrough();
  fenwright::cli::Options options;
  if (fenwright::platform::UserReadsJapanese()) {
    options.Language = fenwright::core::Language::Japanese;
  }
  const bool json = std::ranges::find(arguments, "--json") != arguments.end();
  fenwright::cli::AddOptions(app, options);
  std::map<const CLI::App*, std::function<ExitCode()>> calls;
  for (const auto* verb : fenwright::cli::kVerbs) {
    CLI::App* const command = app.add_subcommand(verb->Name, verb->Description);
    calls[command] = [verb, run = verb->Bind(*command), &options] {
      return RunVerb(*verb, run, options);
    };
  }
  try {
    // What is parsed goes without the program's own name, the last one first.
    std::ranges::reverse(arguments);
    if (!arguments.empty()) arguments.pop_back();
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    if (app.exit(error) == 0) return ExitCode::Success;
    if (json) {
      const auto verbs = app.get_subcommands();
      const std::string text = error.what();
      std::cout << fenwright::cli::JsonOfUsageError(verbs.empty() ? "" : verbs.front()->get_name(),
                                                    {text, text}, options.Language)
                << std::endl;
    }
    return ExitCode::Usage;
  }
  return calls.at(app.get_subcommands().front())();
}

}  // namespace

int main(int argc, char** argv) {
  const fenwright::platform::Utf8Terminal terminal;
  try {
    return static_cast<int>(Run(fenwright::platform::Utf8Arguments(argc, argv)));
  } catch (const std::exception& error) {
    // Out of memory, say; nothing of the program's own throws this far.
    std::cerr << "fenwright-cli: " << error.what() << std::endl;
    return static_cast<int>(ExitCode::Failed);
  }
}
