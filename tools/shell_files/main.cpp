// Writes the man pages of the programs, and the command line's completion for each shell, into the
// folder that is named, as they lie under /usr/share.

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "fenwright-board/options.h"
#include "fenwright-cli/command_line.h"
#include "fenwright-cli/completion.h"
#include "fenwright-cli/help.h"
#include "fenwright-cli/verbs.h"
#include "man_page.h"
#include "ui/command_line.h"
#include "ui/text.h"

namespace fenwright::shell_files {
namespace {

std::vector<std::string> NamesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

/// What stands behind an option's name.
std::string ValueOf(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return "";
  std::string value = option.get_type_name();
  if (!option.get_default_str().empty()) value += "=" + option.get_default_str();
  return value;
}

/// What the option is, and what goes with it.
std::string TextOf(const CLI::Option& option) {
  std::string text = option.get_description();
  std::string more;
  if (!option.get_envname().empty()) {
    more += fmt::format("; the environment variable {} does the same", option.get_envname());
  }
  for (const CLI::Option* const other : option.get_needs()) {
    more += "; with " + other->get_name() + " only";
  }
  for (const CLI::Option* const other : option.get_excludes()) {
    more += "; not with " + other->get_name();
  }
  const std::size_t end = text.find('\n');
  if (end != std::string::npos && end > 0 && text[end - 1] == ':') {
    return text.insert(end - 1, more);
  }
  return text + more;
}

/// The options of a program, or of a verb without its own --help, which all have.
void AddOptions(ManPage& page, const CLI::App& app) {
  const bool verb = app.get_parent() != nullptr;
  for (const bool positional : {true, false}) {
    for (const CLI::Option* const option : app.get_options()) {
      if (option->get_positional() != positional) continue;
      if (verb && option == app.get_help_ptr()) continue;
      const std::string name =
          positional ? option->get_name() : fmt::format("{}", fmt::join(NamesOf(*option), ", "));
      page.Item(name, positional ? "" : ValueOf(*option), TextOf(*option));
    }
  }
}

/// "[OPTION...] CODE.hex"
std::string ArgumentsOf(const CLI::App& verb) {
  std::string arguments = "[OPTION]...";
  for (const CLI::Option* const option : verb.get_options()) {
    if (!option->get_positional()) continue;
    const bool repeated = option->get_items_expected_max() >= CLI::detail::expected_max_vector_size;
    const std::string& type = option->get_type_name();
    const std::string name = (repeated ? type : option->get_name()) + (repeated ? "..." : "");
    arguments += option->get_required() ? " " + name : " [" + name + "]";
  }
  return arguments;
}

std::string ExamplesOf(const cli::Verb& verb) {
  std::string lines;
  for (const cli::Example& example : verb.Examples) {
    if (example.Arguments == nullptr) break;
    if (!lines.empty()) lines += "\n";
    lines += fmt::format("# {}\nfenwright-cli {}", example.English, example.Arguments);
  }
  return lines;
}

void AddReferences(ManPage& page, const std::string& programs) {
  page.Section("SEE ALSO");
  page.Paragraph(programs);
}

std::string CliPage(const CLI::App& app) {
  ManPage page("fenwright-cli", "program AT90S and ATtiny microcontrollers");
  page.Section("SYNOPSIS");
  page.Call("fenwright-cli", "[OPTION]... VERB [ARGUMENT]...");
  page.Section("DESCRIPTION");
  page.Paragraph(app.get_description());
  page.Paragraph(
      "Results go to standard output; errors, warnings and what goes on meanwhile go to standard "
      "error. Texts are in Japanese where the locale is, else in English.");
  page.Section("OPTIONS");
  page.Paragraph("Every verb takes them, before its name or behind it.");
  AddOptions(page, app);
  page.Section("VERBS");
  for (const cli::Verb* const verb : cli::kVerbs) {
    const CLI::App& command = *app.get_subcommand(verb->Name);
    page.Subsection(fmt::format("{} {}", verb->Name, ArgumentsOf(command)));
    page.Paragraph(command.get_description());
    AddOptions(page, command);
    page.Lines(ExamplesOf(*verb));
  }
  page.Section("EXIT STATUS");
  for (const cli::ExitMeaning& meaning : cli::ExitMeanings()) {
    page.Item(meaning.Codes, "", meaning.English);
  }
  page.Section("ENVIRONMENT");
  page.Item("FENWRIGHT_PORT", "", "the port, where --port does not name one");
  page.Item("NO_COLOR", "", "when it is set and not empty, nothing is coloured");
  AddReferences(page, "fenwright(1), fenwright-board(1)");
  return page.Text();
}

std::string BoardPage(const CLI::App& app) {
  ManPage page("fenwright-board", "a simulated programmer board on a pseudo terminal");
  page.Section("SYNOPSIS");
  page.Call("fenwright-board", "--device NAME [OPTION]...");
  page.Call("fenwright-board", "--replay FILE [OPTION]...");
  page.Section("DESCRIPTION");
  page.Paragraph(app.get_description());
  page.Section("OPTIONS");
  AddOptions(page, app);
  page.Section("FAULTS AND DEVICES");
  page.Lines(app.get_footer());
  AddReferences(page, "fenwright-cli(1), fenwright(1)");
  return page.Text();
}

std::string WindowPage() {
  ManPage page("fenwright", "program AT90S and ATtiny microcontrollers, in a window");
  page.Section("SYNOPSIS");
  page.Call("fenwright", "[OPTION]... [FILE]");
  page.Section("DESCRIPTION");
  page.Paragraph(
      "Opens the window, which is in Japanese, with the code file FILE (.hex or .rom) if there is "
      "one. The manual is in its help menu.");
  page.Section("OPTIONS");
  for (const ui::CommandLineOption& option : ui::CommandLineOptions()) {
    std::vector<std::string> names;
    for (const QString& name : option.Names) {
      names.push_back((name.size() == 1 ? "-" : "--") + ui::ToUtf8(name));
    }
    page.Item(fmt::format("{}", fmt::join(names, ", ")), ui::ToUtf8(option.ValueName),
              option.InEnglish);
  }
  AddReferences(page, "fenwright-cli(1), fenwright-board(1)");
  return page.Text();
}

void Write(const std::filesystem::path& path, const std::string& content) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << content << std::flush;
  if (!file) throw std::runtime_error(path.string() + " cannot be written");
}

void WriteAll(const std::filesystem::path& share) {
  const cli::CommandLine line;
  Write(share / "man/man1/fenwright-cli.1", CliPage(line.App()));
  board_app::WithCommandLine([&share](const CLI::App& app) {
    Write(share / "man/man1/fenwright-board.1", BoardPage(app));
  });
  Write(share / "man/man1/fenwright.1", WindowPage());
  Write(share / "bash-completion/completions/fenwright-cli", cli::BashCompletion(line.App()));
  Write(share / "zsh/site-functions/_fenwright-cli", cli::ZshCompletion(line.App()));
  Write(share / "fish/vendor_completions.d/fenwright-cli.fish", cli::FishCompletion(line.App()));
}

}  // namespace
}  // namespace fenwright::shell_files

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::cerr << "usage: fenwright-shell-files FOLDER\n";
    return 2;
  }
  fenwright::shell_files::WriteAll(argv[1]);
  return 0;
} catch (const std::exception& error) {
  std::cerr << "fenwright-shell-files: " << error.what() << '\n';
  return 1;
}
