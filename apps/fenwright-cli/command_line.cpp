#include "command_line.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "explanations.h"
#include "help.h"
#include "platform/system/printable.h"
#include "platform/system/terminal.h"
#include "problem.h"
#include "suggest.h"
#include "usage_error.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

using platform::OutsideOf;
using platform::Printable;

struct Streams {
  std::ostream& Output;
  std::ostream& Errors;
};

std::vector<std::string> VerbNames() {
  std::vector<std::string> names;
  names.reserve(kVerbs.size());
  for (const auto* verb : kVerbs) names.emplace_back(verb->Name);
  return names;
}

/// The options that the call can have: those of the program and of its verb.
std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  const auto add = [&names](const CLI::App& of) {
    for (const CLI::Option* const option : of.get_options()) {
      for (const std::string& name : option->get_snames()) names.push_back("-" + name);
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
  };
  add(app);
  for (const CLI::App* const verb : app.get_subcommands()) add(*verb);
  return names;
}

/// The verb or option that a wrong word of the call was most likely meant to be, "" for none.
std::string Suggestion(const CLI::App& app, const Options& options) {
  const std::vector<std::string> known = OptionNames(app);
  const bool has_verb = !app.get_subcommands().empty();
  for (std::size_t i = 1; i < options.Words.size(); ++i) {
    const std::string name = options.Words[i].substr(0, options.Words[i].find('='));
    if (name.starts_with("-")) {
      if (std::ranges::find(known, name) != known.end()) continue;
      const std::string own = OwnWordFor(name);
      if (std::ranges::find(known, own) != known.end()) return own;
      if (name.starts_with("--")) return ClosestWord(name, known);
    } else if (!has_verb) {
      const std::string own = OwnWordFor(name);
      const std::string verb = own.empty() ? ClosestWord(name, VerbNames()) : own;
      if (!verb.empty()) return verb;
    }
  }
  return "";
}

/// What is wrong with the call. A word that is no verb says more than that a verb is missing.
core::Sentence WhatIsWrong(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> left = app.remaining();
  if (!app.get_subcommands().empty() || left.empty()) {
    return {JapaneseOfUsageError(error.what()), error.what()};
  }
  const std::string& word = left.front();
  if (word.starts_with("-")) {
    return {word + " というオプションはありません", "there is no option " + word};
  }
  return {word + " というサブコマンドはありません", "there is no verb " + word};
}

/// Help on standard output, or what is wrong with the command line on standard error, and with
/// --json on standard output too.
ExitCode Tell(const CLI::App& app, const CLI::ParseError& error, const Options& options,
              const Streams& streams) {
  std::ostringstream out;
  std::ostringstream errors;
  const bool failed = app.exit(error, out, errors) != 0;
  const std::vector<std::string> outside = OutsideOf(options.Words);
  streams.Output << Printable(out.str(), outside) << std::flush;
  if (!failed && streams.Output.good()) return ExitCode::Success;
  if (!failed) {
    streams.Errors << FindExplanation(problem::kOutputUnwritable)->Cause.In(options.Language)
                   << std::endl;
    return ExitCode::FileError;
  }
  const bool japanese = options.Language == core::Language::Japanese;
  core::Sentence text = WhatIsWrong(app, error);
  streams.Errors << Printable(japanese ? text.Japanese + "\n使い方は --help で出ます。\n"
                                       : text.English + "\nRun with --help for more information.\n",
                              outside)
                 << std::flush;
  if (const std::string meant = Suggestion(app, options); !meant.empty()) {
    text.Japanese += "。" + meant + " のことですか";
    text.English += "; did you mean " + meant + "?";
    streams.Errors << (japanese ? meant + " のことですか" : "Did you mean " + meant + "?")
                   << std::endl;
  }
  if (std::ranges::find(options.Words, "--json") != options.Words.end()) {
    const auto verbs = app.get_subcommands();
    const std::string verb = verbs.empty() ? "" : verbs.front()->get_name();
    streams.Output << JsonOfUsageError(verb, text, options.Language) << std::endl;
  }
  return ExitCode::Usage;
}

}  // namespace

CommandLine::CommandLine()
    : app_("Programs AT90S and ATtiny microcontrollers on a programmer board.", "fenwright-cli") {
  app_.require_subcommand(1);
  app_.fallthrough();
  if (platform::UserReadsJapanese()) options_.Language = core::Language::Japanese;
  AddOptions(app_, options_);
  for (const Verb* verb : kVerbs) {
    CLI::App* const command = app_.add_subcommand(verb->Name, verb->Description);
    calls_[command] = [this, verb, run = verb->Bind(*command)] {
      return cli::RunVerb(*verb, run, options_);
    };
  }
  SetUpHelp(app_, options_.Language);
}

std::optional<ExitCode> CommandLine::Read(std::vector<std::string> arguments, std::ostream& output,
                                          std::ostream& errors) {
  options_.Words = arguments;
  try {
    // What is parsed goes without the program's own name, the last one first.
    std::ranges::reverse(arguments);
    if (!arguments.empty()) arguments.pop_back();
    app_.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    return Tell(app_, error, options_, {output, errors});
  }
  return std::nullopt;
}

ExitCode CommandLine::RunVerb() { return calls_.at(app_.get_subcommands().front())(); }

}  // namespace fenwright::cli
