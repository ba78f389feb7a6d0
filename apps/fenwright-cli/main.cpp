#include <algorithm>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "platform/system/printable.h"
#include "platform/system/terminal.h"
#include "verbs.h"

namespace {

using fenwright::cli::ExitCode;
using fenwright::cli::Options;
using fenwright::platform::OutsideOf;
using fenwright::platform::Printable;

/// Help on standard output, or what is wrong with the command line on standard error.
ExitCode Tell(const CLI::App& app, const CLI::ParseError& error, const Options& options) {
  std::ostringstream out;
  std::ostringstream errors;
  const bool failed = app.exit(error, out, errors) != 0;
  const std::vector<std::string> outside = OutsideOf(options.Words);
  std::cout << Printable(out.str(), outside) << std::flush;
  std::cerr << Printable(errors.str(), outside) << std::flush;
  return failed ? ExitCode::Usage : ExitCode::Success;
}

ExitCode Run(std::vector<std::string> arguments) {
  CLI::App app("Programs AT90S and ATtiny microcontrollers on a programmer board.",
               "fenwright-cli");
  app.require_subcommand(1);
  app.fallthrough();
  Options options;
  fenwright::cli::AddOptions(app, options);
  std::map<const CLI::App*, std::function<ExitCode()>> calls;
  for (const auto* verb : fenwright::cli::kVerbs) {
    CLI::App* const command = app.add_subcommand(verb->Name, verb->Description);
    calls[command] = [verb, run = verb->Bind(*command), &options] {
      return RunVerb(*verb, run, options);
    };
  }
  options.Words = arguments;
  try {
    // What is parsed goes without the program's own name, the last one first.
    std::ranges::reverse(arguments);
    if (!arguments.empty()) arguments.pop_back();
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    return Tell(app, error, options);
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
    std::cerr << "fenwright-cli: " << Printable(error.what()) << std::endl;
    return static_cast<int>(ExitCode::Failed);
  }
}
