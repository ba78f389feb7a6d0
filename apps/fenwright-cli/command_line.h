#pragma once

#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "options.h"

namespace fenwright::cli {

/// The command line of the program: its options and its verbs with theirs.
class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// Reads the arguments, the first of which is the program's own name. Nothing when a verb is to
  /// run; otherwise the program ends with that code, because help was asked for or the call makes
  /// no sense. The texts go to the streams.
  std::optional<ExitCode> Read(std::vector<std::string> arguments, std::ostream& output,
                               std::ostream& errors);

  /// Runs the verb that was read.
  ExitCode RunVerb();

  /// The options that every verb takes, as they were read.
  [[nodiscard]] const Options& Common() const { return options_; }

  /// What can be called, for what is made of it: help, completion, man page.
  [[nodiscard]] const CLI::App& App() const { return app_; }

 private:
  CLI::App app_;
  Options options_;
  std::map<const CLI::App*, std::function<ExitCode()>> calls_;
};

}  // namespace fenwright::cli
