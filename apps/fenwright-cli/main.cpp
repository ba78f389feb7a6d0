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
#include "suggest.h"
#include "verbs.h"

namespace {

using fenwright::cli::ExitCode;
using fenwright::cli::Options;
using fenwright::platform::OutsideOf;
using fenwright::platform::Printable;

std::vector<std::string> VerbNames() {
  std::vector<std::string> names;
  for (const auto* verb : fenwright::cli::kVerbs) names.emplace_back(verb->Name);
  return names;
}

/// The long options of the program and of all its verbs.
std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  const auto add = [&names](const CLI::App& of) {
    for (const CLI::Option* const option : of.get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
  };
  add(app);
  for (const CLI::App* const verb : app.get_subcommands({})) add(*verb);
  return names;
}

/// The verb or option that a mistyped word of the call was most likely meant to be, "" for none.
std::string Suggestion(const CLI::App& app, const Options& options) {
  const std::vector<std::string> known = OptionNames(app);
  for (std::size_t i = 1; i < options.Words.size(); ++i) {
    const std::string name = options.Words[i].substr(0, options.Words[i].find('='));
    if (name.starts_with("--") && std::ranges::find(known, name) == known.end()) {
      return fenwright::cli::ClosestWord(name, known);
    }
    if (name.starts_with("-") || !app.get_subcommands().empty()) continue;
    const std::string verb = fenwright::cli::ClosestWord(name, VerbNames());
    if (!verb.empty()) return verb;
  }
  return "";
}

/// Help on standard output, or what is wrong with the command line on standard error, and with
/// --json on standard output too.
ExitCode Tell(const CLI::App& app, const CLI::ParseError& error, const Options& options) {
  std::ostringstream out;
  std::ostringstream errors;
  const bool failed = app.exit(error, out, errors) != 0;
  const std::vector<std::string> outside = OutsideOf(options.Words);
  std::cout << Printable(out.str(), outside) << std::flush;
  std::cerr << Printable(errors.str(), outside) << std::flush;
  if (!failed) return ExitCode::Success;
  fenwright::core::Sentence text{error.what(), error.what()};
  if (const std::string meant = Suggestion(app, options); !meant.empty()) {
    text.Japanese += "。" + meant + " のことですか";
    text.English += "; did you mean " + meant + "?";
    const bool japanese = options.Language == fenwright::core::Language::Japanese;
    std::cerr << (japanese ? meant + " のことですか" : "Did you mean " + meant + "?") << std::endl;
  }
  if (std::ranges::find(options.Words, "--json") != options.Words.end()) {
    const auto verbs = app.get_subcommands();
    const std::string verb = verbs.empty() ? "" : verbs.front()->get_name();
    std::cout << fenwright::cli::JsonOfUsageError(verb, text, options.Language) << std::endl;
  }
  return ExitCode::Usage;
}

ExitCode Run(std::vector<std::string> arguments) {
  CLI::App app("Programs AT90S and ATtiny microcontrollers on a programmer board.",
               "fenwright-cli");
  app.require_subcommand(1);
  app.fallthrough();
  Options options;
  if (fenwright::platform::UserReadsJapanese()) {
    options.Language = fenwright::core::Language::Japanese;
  }
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
