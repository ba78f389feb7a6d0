// What a user finds of the command line: reference, help, man pages and completion have every verb
// and every option, and no other. The tables of the program are the measure.

#include <future>
#include <map>
#include <set>

#include "core/device_catalogue.h"
#include "fenwright-cli/command_line.h"
#include "fenwright-cli/completion.h"
#include "fenwright-cli/device_name.h"
#include "fenwright-cli/help.h"
#include "fenwright-cli/verbs.h"
#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

using Names = std::set<std::string>;

std::vector<const CLI::App*> VerbsOf(const cli::CommandLine& line) {
  return line.App().get_subcommands([](const CLI::App*) { return true; });
}

Names VerbNames() {
  Names names;
  for (const cli::Verb* const verb : cli::kVerbs) names.insert(verb->Name);
  return names;
}

/// The long options of the program or a verb.
Names OptionsOf(const CLI::App& app) {
  Names names;
  for (const CLI::Option* const option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.insert("--" + name);
  }
  return names;
}

/// Those of the program and all verbs.
Names AllOptions(const cli::CommandLine& line) {
  Names names = OptionsOf(line.App());
  for (const CLI::App* const verb : VerbsOf(line)) names.merge(OptionsOf(*verb));
  return names;
}

/// Every "--option" in a text.
Names OptionsIn(const std::string& text) {
  Names names;
  for (std::size_t start = text.find("--"); start != std::string::npos;) {
    std::size_t end = start + 2;
    while (end < text.size() && (std::islower(static_cast<unsigned char>(text[end])) != 0 ||
                                 (text[end] == '-' && end > start + 2))) {
      ++end;
    }
    const bool apart =
        start == 0 ||
        (std::isalnum(static_cast<unsigned char>(text[start - 1])) == 0 && text[start - 1] != '-');
    if (apart && end > start + 2) names.insert(text.substr(start, end - start));
    start = text.find("--", end);
  }
  return names;
}

std::string Between(const std::string& text, const std::string& first, const std::string& last) {
  const std::size_t start = text.find(first);
  if (start == std::string::npos) throw std::runtime_error("no " + first);
  return text.substr(start, text.find(last, start + first.size()) - start);
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// What stands between two marks at the start of lines: "| `" and the end of a word.
Names FirstWords(const std::string& text, const std::string& before) {
  Names names;
  for (const std::string& line : LinesOf(text)) {
    if (!line.starts_with(before)) continue;
    const std::size_t end = line.find_first_of(" `,\\", before.size());
    names.insert(line.substr(before.size(), end - before.size()));
  }
  return names;
}

class CliHelp : public CliTest {
 protected:
  static std::string ShellFile(const std::string& name) {
    return ReadFile(std::string(FENWRIGHT_SHELL_FILES) + "/" + name);
  }
  /// A man page with what is escaped in it as it is read.
  static std::string ManPage(const std::string& name) {
    std::string page = ShellFile("man/man1/" + name + ".1");
    for (const auto& [escaped, shown] : {std::pair{"\\-", "-"}, {"\\(aq", "'"}, {"\\(ti", "~"}}) {
      for (std::size_t i = page.find(escaped); i != std::string::npos; i = page.find(escaped)) {
        page.replace(i, std::string(escaped).size(), shown);
      }
    }
    return page;
  }

  const cli::CommandLine line_;
};

TEST_F(CliHelp, TheReferenceHasEveryVerbAndEveryOptionAndNoOther) {
  const std::string part = ReadFile(FENWRIGHT_REFERENCE);
  EXPECT_EQ(FirstWords(Between(part, "| Command |", "\n\n"), "| `"), VerbNames());
  const std::string options = Between(part, "| Option |", "\n\n");
  Names named = OptionsIn(options);
  for (const std::string& option : OptionsOf(line_.App()))
    EXPECT_TRUE(named.contains(option)) << option;
  named.merge(OptionsIn(part));
  EXPECT_EQ(named, AllOptions(line_));
}

TEST_F(CliHelp, OfTheProgramHasEveryVerbAndEveryCommonOption) {
  const CliResult help = Run("--help");
  EXPECT_THAT(help, Ends(0));
  EXPECT_EQ(Run("help").Out, help.Out);
  EXPECT_EQ(FirstWords(Between(help.Out, "\nSubcommands:\n", "\n\n"), "  "), VerbNames());
  EXPECT_EQ(OptionsIn(Between(help.Out, "\nOptions:\n", "\nSubcommands:\n")),
            OptionsOf(line_.App()));
}

TEST_F(CliHelp, OfAVerbHasItsOptionsAndExamplesThatCanBeRead) {
  for (const cli::Verb* const verb : cli::kVerbs) {
    const std::string name = verb->Name;
    const CliResult help = Run("help " + name);
    EXPECT_EQ(Run(name + " --help").Out, help.Out) << name;
    const std::string options = Between(help.Out, "\nOptions:\n", "\n\n");
    for (const std::string& option : OptionsOf(*line_.App().get_subcommand(name))) {
      EXPECT_TRUE(OptionsIn(options).contains(option)) << name << " " << option;
    }
    ASSERT_NE(verb->Examples.front().Arguments, nullptr) << name;
    for (const cli::Example& example : verb->Examples) {
      if (example.Arguments == nullptr) break;
      EXPECT_THAT(help.Out, HasSubstr(std::string("  # ") + example.English + "\n  fenwright-cli " +
                                      example.Arguments));
      std::string arguments = example.Arguments;
      arguments = arguments.substr(0, arguments.find(" > "));
      cli::CommandLine line;
      std::ostringstream output;
      std::ostringstream errors;
      ASSERT_FALSE(line.Read(Words{"fenwright-cli"} + arguments, output, errors)) << errors.str();
      EXPECT_EQ(line.App().get_subcommands().front()->get_name(), name);
    }
  }
}

TEST_F(CliHelp, OfAVerbThatIsNoneSuggestsOne) {
  EXPECT_THAT(Run("help prgram"), AllOf(Ends(2), Warns("did you mean program?")));
  EXPECT_EQ(Run("--json help prgram").Json()["error"]["code"], "usage");
  const json all = Run("--json help").Json();
  EXPECT_EQ(all["verbs"].size(), cli::kVerbs.size());
  const json one = Run("--json help erase").Json();
  ASSERT_EQ(one["verbs"].size(), 1U);
  EXPECT_EQ(one["verbs"][0]["name"], "erase");
  EXPECT_EQ(one["help"].get<std::string>(), Run("help erase").Out);
}

/// The texts of the help; of the simulated board's faults line by line.
std::vector<std::string> HelpTexts(const cli::CommandLine& line) {
  std::vector<std::string> texts{line.App().get_description()};
  std::vector<const CLI::App*> apps = VerbsOf(line);
  apps.push_back(&line.App());
  for (const CLI::App* const app : apps) {
    texts.push_back(app->get_description());
    for (const CLI::Option* const option : app->get_options()) {
      for (const std::string& part : LinesOf(option->get_description())) texts.push_back(part);
    }
  }
  return texts;
}

TEST_F(CliHelp, IsInJapaneseWhereTheLocaleIs) {
  for (const std::string& text : HelpTexts(line_)) {
    EXPECT_NE(cli::JapaneseHelpOf(text), text) << "no Japanese: " << text;
  }
  const Process::Setup japanese{.Environment = {{"LC_ALL", "ja_JP.UTF-8"}}};
  for (const cli::Verb* const verb : cli::kVerbs) {
    const CliResult help = Run(std::string("help ") + verb->Name, japanese);
    EXPECT_THAT(help.Out, HasSubstr(std::string("\n使い方: fenwright-cli ") + verb->Name));
    for (const cli::Example& example : verb->Examples) {
      if (example.Arguments == nullptr) break;
      EXPECT_THAT(help.Out, HasSubstr(std::string("  # ") + example.Japanese + "\n"));
    }
    for (const char* const english : {"Usage", "Options", "Examples", "Needs", "REQUIRED"}) {
      EXPECT_THAT(help.Out, Not(HasSubstr(english))) << verb->Name;
    }
  }
}

TEST_F(CliHelp, WhatIsWrongWithACallIsInTheLanguageOfTheCall) {
  const Process::Setup japanese{.Environment = {{"LC_ALL", "ja_JP.UTF-8"}}};
  for (const auto& [call, text] :
       {std::pair{"", "サブコマンドがありません"},
        {"devices now", "余分な引数があります: now"},
        {"--jsn devices", "余分な引数があります: --jsn"},
        {"gone", "gone というサブコマンドはありません"},
        {"--gone", "--gone というオプションはありません"},
        {"--port", "--port の値がありません"},
        {"--device a --device b ports", "--device が 2 回あります。指定できるのは一度です"},
        {"program", "CODE.hex がありません"},
        {"--simulate-chip empty ports", "--simulate-chip は --simulate と一緒に指定します"},
        {"--quiet --verbose ports", "--quiet と --verbose は一緒に指定できません"},
        {"completion tcsh", "SHELL: tcsh は {bash,zsh,fish} のどれでもありません"}}) {
    const CliResult result = Run(call, japanese);
    EXPECT_THAT(result,
                AllOf(Ends(2), Warns(std::string(text) + "\n使い方は --help で出ます。\n")));
    EXPECT_THAT(Run(call), AllOf(Ends(2), Warns("Run with --help for more information.\n")));
    EXPECT_THAT(Run(std::string("--json ") + call, japanese).Json()["error"]["text"],
                ::testing::StartsWith(text));
  }
}

TEST_F(CliHelp, WordsOfOtherProgramsAreUnderstoodAsSuggestions) {
  for (const auto& [call, wrong, meant] :
       {std::tuple{"--simulate write_flash code.hex", "there is no verb write_flash", "program"},
        {"signature", "there is no verb signature", "identify"},
        {"--simulate chip_id", "there is no verb chip_id", "identify"},
        {"-p AT90S8515 -U flash:w:code.hex", "there is no option -p", "--device"},
        {"-P /dev/ttyUSB0 detect", "-P", "--port"},
        {"prgram code.hex", "there is no verb prgram", "program"},
        {"--dvice AT90S8515 erase", "--dvice", "--device"},
        {"--jsn", "there is no option --jsn", "--json"}}) {
    const CliResult result = Run(call);
    EXPECT_THAT(result, AllOf(Ends(2), Warns(wrong))) << call;
    EXPECT_THAT(result, Warns(std::string("Did you mean ") + meant + "?")) << call;
  }
  EXPECT_THAT(Run("burn-in"), AllOf(Ends(2), Warns("there is no verb burn-in"),
                                    Warns(Not(HasSubstr("Did you mean")))));
}

TEST_F(CliHelp, AMistypedFieldIsSuggested) {
  EXPECT_THAT(Simulate("write-fuses BODLEVL=1.8V"), AllOf(Ends(2), Warns("mean BODLEVEL?")));
}

/// The options that stand as items in a part of a man page: "\fB-h, --help\fR".
Names ItemOptions(const std::string& part) {
  Names names;
  for (const std::string& line : LinesOf(part)) {
    const std::string bold = "\\fB";
    if (!line.starts_with(bold + "-")) continue;
    names.merge(OptionsIn(line.substr(bold.size(), line.find("\\fR") - bold.size())));
  }
  return names;
}

TEST_F(CliHelp, TheManPageHasEveryVerbAndEveryOptionAndNoOther) {
  const std::string page = ManPage("fenwright-cli");
  EXPECT_EQ(FirstWords(page, ".SS "), VerbNames());
  EXPECT_EQ(ItemOptions(Between(page, ".SH OPTIONS", ".SH VERBS")), OptionsOf(line_.App()));
  for (const CLI::App* const verb : VerbsOf(line_)) {
    const std::string part = Between(page, ".SS " + verb->get_name() + " ", "\n.S");
    Names expected = OptionsOf(*verb);
    expected.erase("--help");
    EXPECT_EQ(ItemOptions(part), expected) << verb->get_name();
  }
}

TEST_F(CliHelp, TheManPagesOfTheOtherProgramsHaveTheirOptions) {
  for (const char* const program : {FENWRIGHT_BOARD_PROGRAM, FENWRIGHT_PROGRAM}) {
    const std::string name = std::filesystem::path(program).filename().string();
    const CliResult help =
        Run("--help", {.Environment = {{"QT_QPA_PLATFORM", "offscreen"}}}, program);
    EXPECT_THAT(help, Ends(0));
    Names expected;
    for (const std::string& line : LinesOf(help.Out)) {
      if (line.starts_with("  -")) expected.merge(OptionsIn(line.substr(0, 30)));
    }
    EXPECT_GE(expected.size(), 5U);
    EXPECT_EQ(ItemOptions(ManPage(name)), expected) << name;
  }
}

TEST_F(CliHelp, TheManPagesAreCleanForTheirReaders) {
  for (const char* const name : {"fenwright", "fenwright-board", "fenwright-cli"}) {
    const std::string file = std::string(FENWRIGHT_SHELL_FILES) + "/man/man1/" + name + ".1";
    const CliResult lint = Run(Words{"-T", "lint", file}, {}, "mandoc");
    for (const std::string& line : LinesOf(lint.Out)) {
      // A page is the same whenever it is made.
      EXPECT_THAT(line, HasSubstr("missing date")) << name;
    }
    EXPECT_THAT(lint.Out, HasSubstr("missing date"));
    const CliResult shown = Run(Words{"-T", "ascii", file}, {}, "mandoc");
    EXPECT_THAT(shown, AllOf(Ends(0), Prints(std::string("(1)"))));
  }
}

TEST_F(CliHelp, EveryValueHasWhatCompletesIt) {
  std::vector<const CLI::App*> apps = VerbsOf(line_);
  apps.push_back(&line_.App());
  using Kind = cli::ValueChoice::Kind;
  for (const CLI::App* const app : apps) {
    for (const CLI::Option* const option : app->get_options()) {
      const cli::ValueChoice choice = cli::ChoiceFor(*option, line_.App());
      EXPECT_EQ(choice.What == Kind::Words, !choice.Words.empty()) << option->get_name();
      if (choice.What != Kind::File) continue;
      // What is no file has to be known as what it is.
      const std::string shown =
          option->get_positional() ? option->get_name() : option->get_type_name();
      EXPECT_TRUE(shown.find('.') != std::string::npos || shown.find("FILE") != std::string::npos)
          << option->get_name() << " " << shown;
    }
  }
}

/// The completion of bash by itself, without any package around it.
class BashCompletionTest : public CliHelp {
 protected:
  BashCompletionTest() {
    Put("run.sh",
        "source \"$1\"\n"
        "COMP_LINE=$2\n"
        "COMP_POINT=${#COMP_LINE}\n"
        "_fenwright_cli \"$3\" || exit\n"
        "printf '%s\\n' \"${COMPREPLY[@]}\"\n");
    Put("fenwright-cli",
        "#!/bin/sh\n"
        "[ \"$1\" = ports ] || exit 2\n"
        "echo 'COM1   /dev/ttyS0     missing'\n"
        "echo 'COM5   /dev/ttyUSB0   usable         adapter'\n"
        "echo 'COM13  /dev/ttyACM0   in use         board'\n"
        "echo '       it is open in another program'\n");
    std::filesystem::permissions(Path("fenwright-cli"), std::filesystem::perms::owner_all);
  }

  /// What is offered at the end of a line.
  Names Offered(const std::string& line) {
    const CliResult result =
        Run(Words{Path("run.sh"),
                  std::string(FENWRIGHT_SHELL_FILES) + "/bash-completion/completions/fenwright-cli",
                  line, Path("fenwright-cli")},
            {}, "bash");
    EXPECT_EQ(result.Err, "") << line;
    Names names;
    for (const std::string& word : LinesOf(result.Out)) {
      if (!word.empty()) names.insert(word);
    }
    return names;
  }
};

TEST_F(BashCompletionTest, OffersEveryVerbAndEveryOptionAndNoOther) {
  EXPECT_EQ(Offered("fenwright-cli "), VerbNames());
  EXPECT_EQ(Offered("fenwright-cli --json --device ATtiny12L "), VerbNames());
  EXPECT_EQ(Offered("fenwright-cli ver"), Names{"verify"});
  Names common = OptionsOf(line_.App());
  common.insert("-h");
  EXPECT_EQ(Offered("fenwright-cli -"), common);
  for (const CLI::App* const verb : VerbsOf(line_)) {
    Names expected = common;
    expected.merge(OptionsOf(*verb));
    EXPECT_EQ(Offered("fenwright-cli " + verb->get_name() + " -"), expected) << verb->get_name();
  }
}

TEST_F(BashCompletionTest, OffersDevicesByTheirNamesInAscii) {
  Names devices;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    devices.insert(core::DeviceAlias(device.DisplayName));
  }
  EXPECT_EQ(Offered("fenwright-cli --device "), devices);
  EXPECT_EQ(Offered("fenwright-cli erase --device at90s12"), (Names{"AT90S1200", "AT90S1200A"}));
  EXPECT_EQ(Offered("fenwright-cli --device=ATtiny2"), Names{"ATtiny26L"});
  EXPECT_EQ(Offered("fenwright-cli --simulate --simulate-chip em"), Names{"empty"});
}

TEST_F(BashCompletionTest, OffersThePortsThatTheMachineHas) {
  EXPECT_EQ(Offered("fenwright-cli --port "),
            (Names{"all", "COM5", "/dev/ttyUSB0", "COM13", "/dev/ttyACM0"}));
  EXPECT_EQ(Offered("fenwright-cli --port CO"), (Names{"COM5", "COM13"}));
  EXPECT_EQ(Offered("fenwright-cli --port /dev/ttyU"), Names{"/dev/ttyUSB0"});
}

TEST_F(BashCompletionTest, OffersTheFieldsAndItemsOfTheDeviceThatReadFusesHas) {
  std::map<std::string, std::future<CliResult>> results;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    const std::string name = core::DeviceAlias(device.DisplayName);
    results[name] = std::async(std::launch::async, [this, name] {
      return Run("--json --simulate --device " + name +
                 " write-fuses --dry-run --from-defaults LOCK=none");
    });
  }
  for (auto& [name, result] : results) {
    const std::string call = "fenwright-cli --device " + name + " write-fuses ";
    Names fields;
    const json told = result.get().Json();
    for (const auto& [field, item] : told["fields"].items()) {
      fields.insert(field + "=");
      const Names items = Offered(call + field + "=");
      EXPECT_TRUE(items.contains(item["name"])) << name << " " << field << " " << item;
    }
    EXPECT_FALSE(fields.empty()) << told;
    EXPECT_EQ(Offered(call), fields) << name;
  }
  EXPECT_EQ(Offered("fenwright-cli write-fuses --device ATtiny12L BODLEVEL="),
            (Names{"1.8V", "2.7V"}));
  EXPECT_EQ(Offered("fenwright-cli --device ATtiny26L write-fuses RSTDISABL=PB7:"),
            (Names{"I/O", "Reset"}));
  EXPECT_EQ(Offered("fenwright-cli write-fuses LOCK=wr"), (Names{"write", "write-verify"}));
}

TEST_F(BashCompletionTest, OffersFilesFoldersCodesAndShells) {
  MakeFolder("kept");
  Put("code.hex", "");
  Put("job.json", "");
  EXPECT_EQ(Offered("fenwright-cli run jo"), Names{"job.json"});
  EXPECT_EQ(Offered("fenwright-cli program code.hex --counter co"), Names{"code.hex"});
  EXPECT_EQ(Offered("fenwright-cli program code.hex --serial "), (Names{"flash:", "eeprom:"}));
  EXPECT_EQ(Offered("fenwright-cli program code.hex --osccal e"), Names{"eeprom:"});
  EXPECT_EQ(Offered("fenwright-cli program co"), Names{"code.hex"});
  EXPECT_EQ(Offered("fenwright-cli program code.hex --data co"), Names{"code.hex"});
  EXPECT_EQ(Offered("fenwright-cli --folder "), Names{"kept"});
  EXPECT_EQ(Offered("fenwright-cli explain wrong-chi"), Names{"wrong-chip"});
  EXPECT_EQ(Offered("fenwright-cli completion "), (Names{"bash", "zsh", "fish"}));
  EXPECT_EQ(Offered("fenwright-cli --simulate-fault powe"), Names{"powercut@"});
}

TEST_F(CliHelp, ZshAndFishKnowEveryVerbAndEveryOptionAndNoOther) {
  const std::string zsh = Run("completion zsh").Out;
  EXPECT_EQ(zsh, ShellFile("zsh/site-functions/_fenwright-cli"));
  EXPECT_EQ(OptionsIn(zsh), AllOptions(line_));
  EXPECT_EQ(FirstWords(Between(zsh, "      case $words[1] in\n", "      esac"), "        "), [] {
    Names names;
    for (const std::string& name : VerbNames()) names.insert(name + ")");
    return names;
  }());
  const std::string fish = Run("completion fish").Out;
  EXPECT_EQ(fish, ShellFile("fish/vendor_completions.d/fenwright-cli.fish"));
  Names options;
  Names verbs;
  for (const std::string& line : LinesOf(fish)) {
    if (!line.starts_with("complete ")) continue;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
      if (word == "-l" && words >> word) options.insert("--" + word);
      if (word == "-a" && line.find("-n 'not __fish") != std::string::npos && words >> word)
        verbs.insert(word);
    }
  }
  EXPECT_EQ(options, AllOptions(line_));
  EXPECT_EQ(verbs, VerbNames());
  for (const auto& [shell, option] : {std::pair{"zsh", "-n"}, {"fish", "--no-execute"}}) {
    const std::string file = Path(shell);
    Put(shell, Run(std::string("completion ") + shell).Out);
    // Neither shell is needed for anything else.
    const std::string check = std::string("command -v ") + shell + " >/dev/null || exit 0; " +
                              shell + " " + option + " " + file;
    EXPECT_THAT(Run(Words{"-c", check}, {}, "sh"), Ends(0)) << shell;
  }
  EXPECT_EQ(Run("completion bash").Out, ShellFile("bash-completion/completions/fenwright-cli"));
  EXPECT_THAT(Run("completion tcsh"), AllOf(Ends(2), Warns("tcsh not in {bash,zsh,fish}")));
}

}  // namespace
}  // namespace fenwright::testing
