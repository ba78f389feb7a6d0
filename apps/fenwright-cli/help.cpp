#include "help.h"

#include <array>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "verbs.h"

namespace fenwright::cli {
namespace {

using core::Language;

constexpr auto kExitMeanings = std::to_array<ExitMeaning>(
    {{"0", "成功", "success"},
     {"1", "処理の失敗 (ベリファイと比較の違いを含む)",
      "the operation failed, a verify or a comparison that found differences included"},
     {"2", "使い方の誤り", "wrong usage"},
     {"3", "ライターまたはポートがない", "no programmer, or no port"},
     {"4", "ファイルまたは出力を読めない、書けない、または使えない",
      "a file, or the output, cannot be read or written, or cannot be meant"},
     {"130, 143, 129", "Ctrl-C、SIGTERM、SIGHUPで止めた",
      "stopped by Ctrl-C, by SIGTERM, by SIGHUP"}});

const char* In(Language language, const char* japanese, const char* english) {
  return language == Language::Japanese ? japanese : english;
}

std::string ExitCodes(Language language) {
  std::string text = In(language, "終了コード:\n", "Exit codes:\n");
  for (const ExitMeaning& meaning : kExitMeanings) {
    text += fmt::format("  {:<14} {}\n", meaning.Codes,
                        In(language, meaning.Japanese, meaning.English));
  }
  return text;
}

/// With what each does above it, or the first of them alone without.
std::string ExamplesOf(const Verb& verb, Language language) {
  std::string text;
  for (const Example& example : verb.Examples) {
    if (example.Arguments == nullptr) break;
    text += fmt::format("  # {}\n  fenwright-cli {}\n",
                        In(language, example.Japanese, example.English), example.Arguments);
  }
  return text;
}

/// The options of every verb that this one cannot do without.
std::string NeedsOf(const Verb& verb, Language language) {
  const bool port = verb.Needed.Port || verb.Needed.NamedPort;
  const char* const device = "--device";
  const char* const either = In(language, "--port か --simulate", "--port or --simulate");
  std::string needs = verb.Needed.Device ? device : "";
  if (port) needs += (needs.empty() ? "" : In(language, " と、", ", and ")) + std::string(either);
  const char* const all = In(language, "すべてに共通のオプション: fenwright-cli --help\n",
                             "The options that every verb takes: fenwright-cli --help\n");
  if (needs.empty()) return all;
  return fmt::format(fmt::runtime(In(language, "{} を付けて使います。{}", "Needs {}. {}")), needs,
                     all);
}

std::string ProgramFooter(Language language) {
  std::string text = ExitCodes(language) + "\n" + In(language, "例:\n", "Examples:\n");
  for (const Verb* const verb : {&kDevices, &kPorts, &kProgram, &kRead, &kWriteFuses}) {
    text += fmt::format("  fenwright-cli {}\n", verb->Examples.front().Arguments);
  }
  return text + "\n" +
         In(language, "サブコマンドの説明と例: fenwright-cli help サブコマンド",
            "What a verb takes, with examples: fenwright-cli help VERB");
}

std::string VerbFooter(const Verb& verb, Language language) {
  std::string text = NeedsOf(verb, language) + "\n" + In(language, "例:\n", "Examples:\n") +
                     ExamplesOf(verb, language);
  text.pop_back();
  return text;
}

void PutOptionsInto(CLI::App& app, Language language) {
  for (CLI::Option* const option : app.get_options([](CLI::Option*) { return true; })) {
    // "CODE.hex" says more than that it is a text.
    if (option->get_positional() && option->get_type_name() == "TEXT") option->type_name("");
    std::string description = option->get_description();
    while (description.ends_with('\n')) description.pop_back();
    option->description(language == Language::English ? description : JapaneseHelpOf(description));
    if (language == Language::English) continue;
    option->group("オプション");
  }
}

}  // namespace

std::span<const ExitMeaning> ExitMeanings() { return kExitMeanings; }

void SetUpHelp(CLI::App& app, Language language) {
  PutOptionsInto(app, language);
  app.footer(ProgramFooter(language));
  for (const Verb* const verb : kVerbs) {
    CLI::App& command = *app.get_subcommand(verb->Name);
    PutOptionsInto(command, language);
    command.footer(VerbFooter(*verb, language));
    if (language == Language::English) continue;
    command.description(JapaneseHelpOf(verb->Description));
    command.group("サブコマンド");
  }
  if (language == Language::English) return;
  app.description(JapaneseHelpOf(app.get_description()));
  const auto formatter = std::make_shared<CLI::Formatter>();
  for (const auto& [label, text] : {std::pair{"Usage", "使い方"},
                                    {"OPTIONS", "オプション"},
                                    {"SUBCOMMAND", "サブコマンド"},
                                    {"Positionals", "引数"},
                                    {"REQUIRED", "(必須)"},
                                    {"Env", "環境変数"},
                                    {"Needs", "要"},
                                    {"Excludes", "排他"}}) {
    formatter->label(label, text);
  }
  app.formatter(formatter);
  for (const Verb* const verb : kVerbs) app.get_subcommand(verb->Name)->formatter(formatter);
}

std::string HelpOf(const CLI::App& app) {
  const CLI::App* const program = app.get_parent();
  const std::string name = (program == nullptr ? "" : program->get_name() + " ") + app.get_name();
  return app.get_formatter()->make_help(&app, name, CLI::AppFormatMode::Normal);
}

}  // namespace fenwright::cli
