#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

namespace fenwright::cli {

/// What can stand for a value on the command line.
struct ValueChoice {
  enum class Kind {
    None,    ///< it takes no value
    Words,   ///< one of the words
    Port,    ///< a port of the machine, known when it is asked for
    File,    ///< a file
    Folder,  ///< a folder
    Fuse     ///< FIELD=ITEM of the device
  };
  Kind What = Kind::None;
  std::vector<std::string> Words{};
};

/// What can stand for the value of an option, or of a verb's own argument.
ValueChoice ChoiceFor(const CLI::Option& option, const CLI::App& program);

/// Every FIELD=ITEM of a device, by the items' ASCII names.
std::vector<std::string> FuseWordsOf(std::string_view display_name);

/// A shell that completes words by a script.
struct Shell {
  const char* Name;
  std::string (*Script)(const CLI::App& program);
};

std::string BashCompletion(const CLI::App& program);
std::string ZshCompletion(const CLI::App& program);
std::string FishCompletion(const CLI::App& program);

inline constexpr std::array<Shell, 3> kShells{
    {{"bash", BashCompletion}, {"zsh", ZshCompletion}, {"fish", FishCompletion}}};

/// The script of a shell of that name.
std::string CompletionFor(std::string_view shell, const CLI::App& program);

}  // namespace fenwright::cli
