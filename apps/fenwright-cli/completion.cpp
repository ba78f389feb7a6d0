#include "completion.h"

#include <algorithm>
#include <functional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "board/chip_models.h"
#include "board/faults.h"
#include "core/device_catalogue.h"
#include "device_name.h"
#include "explanations.h"
#include "fuse/fuse_model.h"
#include "fuse/lock_modes.h"
#include "text.h"

namespace fenwright::cli {
namespace {

using Kind = ValueChoice::Kind;
using Texts = std::vector<std::string>;

Texts DeviceWords() {
  Texts words;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    words.push_back(core::DeviceAlias(device.DisplayName));
  }
  return words;
}

Texts ChipWords() {
  Texts words;
  for (const board::ChipModel& chip : board::ChipModels())
    words.push_back(core::DeviceAlias(chip.Name));
  return words;
}

/// Each form as far as it is the same for all of its faults: "silent", "drop@".
Texts FaultWords() {
  Texts words;
  const std::string forms = board::FaultForms();
  for (std::size_t start = 0; start < forms.size(); start = forms.find('\n', start) + 1) {
    std::string form = forms.substr(forms.find_first_not_of(' ', start));
    form.resize(form.find_first_of(" \n"));
    const bool memory = form.starts_with("stuck@");
    const std::size_t end = form.find(memory ? ':' : '@');
    if (end != std::string::npos) form.resize(end + 1);
    words.push_back(form);
  }
  return words;
}

Texts CodeWords() {
  Texts words;
  for (const Explanation& row : Explanations()) words.emplace_back(row.Code);
  return words;
}

std::vector<const CLI::App*> VerbsOf(const CLI::App& program) {
  return program.get_subcommands([](const CLI::App*) { return true; });
}

Texts VerbWords(const CLI::App& program) {
  Texts words;
  for (const CLI::App* const verb : VerbsOf(program)) words.push_back(verb->get_name());
  return words;
}

/// The words that a type name lists: "bash|zsh|fish", "TEXT:{bash,zsh,fish}".
Texts ListedWords(std::string type_name) {
  const std::size_t brace = type_name.find('{');
  if (brace != std::string::npos) {
    type_name = type_name.substr(brace + 1, type_name.find('}', brace) - brace - 1);
  }
  const char separator = brace == std::string::npos ? '|' : ',';
  if (type_name.find(separator) == std::string::npos) return {};
  return CLI::detail::split(type_name, separator);
}

void AddNew(Texts& texts, const std::string& text) {
  if (std::ranges::find(texts, text) == texts.end()) texts.push_back(text);
}

/// What is called, with its options and its own arguments.
struct Callable {
  const CLI::App& Program;
  const CLI::App& App;
  /// Help is an option of every verb, and so none of its own.
  [[nodiscard]] std::vector<const CLI::Option*> Options(bool positional) const {
    const CLI::Option* const help = &App == &Program ? nullptr : App.get_help_ptr();
    return App.get_options([positional, help](const CLI::Option* option) {
      return option->get_positional() == positional && option != help;
    });
  }
};

Texts NamesOf(const CLI::Option& option) {
  Texts names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

Texts OptionWords(const Callable& callable) {
  Texts words;
  for (const CLI::Option* const option : callable.Options(false)) {
    for (const std::string& name : NamesOf(*option)) words.push_back(name);
  }
  return words;
}

std::string Joined(const Texts& texts) { return fmt::format("{}", fmt::join(texts, " ")); }

/// The first line of a description, without a colon at its end.
std::string Summary(const std::string& description) {
  std::string line = description.substr(0, description.find('\n'));
  if (line.ends_with(':')) line.pop_back();
  return line;
}

/// With a backslash before each of the characters.
std::string Escaped(std::string_view text, std::string_view characters) {
  std::string escaped;
  for (const char character : text) {
    if (characters.find(character) != std::string_view::npos) escaped += '\\';
    escaped += character;
  }
  return escaped;
}

/// For a POSIX shell, as one word.
std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char character : text) {
    if (character == '\'') {
      quoted += "'\\''";
    } else {
      quoted += character;
    }
  }
  return quoted + "'";
}

void Replace(std::string& text, std::string_view from, std::string_view to) {
  text.replace(text.find(from), from.size(), to);
}

std::string UpperCase(std::string text) {
  std::ranges::transform(text, text.begin(), [](char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
  });
  return text;
}

/// A line for each device with its FIELD=ITEM words, the last for any other name with all of them.
std::string FuseCases(const std::function<std::string(const std::string&, const Texts&)>& line) {
  std::string cases;
  Texts all;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    const Texts words = FuseWordsOf(device.DisplayName);
    for (const std::string& word : words) AddNew(all, word);
    cases += line(UpperCase(core::DeviceAlias(device.DisplayName)), words);
  }
  return cases + line("*", all);
}

constexpr std::string_view kBash =
    R"script(# Completion of fenwright-cli for bash; "fenwright-cli completion bash" prints it.

# The ports that this machine has, asked for when they are wanted.
_fenwright_cli_ports() {
  local name path state rest
  echo all
  while read -r name path state rest; do
    if [[ $name == COM* && $state != missing ]]; then printf '%s\n' "$name" "$path"; fi
  done < <(LC_ALL=C "$1" ports 2>/dev/null)
}

# FIELD=ITEM of a device, of all devices where the name is none.
_fenwright_cli_fuses() {
  case ${1^^} in
@FUSES@  esac
}

# The options of a verb's own.
_fenwright_cli_options() {
  case $1 in
@OPTIONS@  esac
}

# What can stand behind an option of a verb, or for the verb's own argument: words, or FILE, FOLDER,
# PORT, FUSE. Fails for an option without a value.
_fenwright_cli_values() {
  case $1/$2 in
@VALUES@    *) return 1 ;;
  esac
}

_fenwright_cli() {
  local line=${COMP_LINE:0:COMP_POINT} verb='' device='' option='' word i
  local -a words=()
  read -ra words <<<"$line"
  if [[ $line == *[[:space:]] ]]; then words+=(''); fi
  local last=$((${#words[@]} - 1))
  for ((i = 1; i < last; ++i)); do
    word=${words[i]}
    if [[ $word == --device=* ]]; then
      device=${word#*=}
    elif [[ $word == -* ]]; then
      if [[ $word == *=* ]] || ! _fenwright_cli_values "$verb" "$word" >/dev/null; then continue; fi
      if ((i + 1 == last)); then
        option=$word
      elif [[ $word == --device ]]; then
        device=${words[i + 1]}
      fi
      ((++i))
    elif [[ -z $verb ]]; then
      verb=$word
    fi
  done

  local current=${words[last]} prefix='' candidates
  if [[ -z $option && $current == --*=* ]]; then
    option=${current%%=*}
    prefix=$option=
  fi
  local value=${current#"$prefix"}
  if [[ -n $option ]]; then
    candidates=$(_fenwright_cli_values "$verb" "$option")
  elif [[ $current == -* ]]; then
    candidates="@COMMON@ $(_fenwright_cli_options "$verb")"
  elif [[ -z $verb ]]; then
    candidates='@VERBS@'
  else
    candidates=$(_fenwright_cli_values "$verb" '')
  fi

  COMPREPLY=()
  case $candidates in
    FILE | FOLDER)
      local action=-f
      if [[ $candidates == FOLDER ]]; then action=-d; fi
      mapfile -t COMPREPLY < <(compgen "$action" -- "$value")
      COMPREPLY=("${COMPREPLY[@]/#/$prefix}")
      compopt -o filenames 2>/dev/null
      ;;
    *)
      if [[ $candidates == PORT ]]; then candidates=$(_fenwright_cli_ports "$1"); fi
      if [[ $candidates == FUSE ]]; then candidates=$(_fenwright_cli_fuses "$device"); fi
      local known=' '
      for word in $candidates; do
        # A field first, then its items.
        if [[ $word == [A-Z]*=* && $value != *=* ]]; then word=${word%%=*}=; fi
        if [[ ${word,,} == "${value,,}"* && $known != *" $word "* ]]; then
          known+="$word "
          COMPREPLY+=("$prefix$word")
        fi
      done
      if [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *[=@:] ]]; then
        compopt -o nospace 2>/dev/null
      fi
      ;;
  esac

  # What bash takes for words of their own stays as it was typed.
  local breaks=''
  for word in = : @; do
    if [[ $COMP_WORDBREAKS == *"$word"* ]]; then breaks+=$word; fi
  done
  if [[ -n $breaks && $current == *[$breaks]* ]]; then
    COMPREPLY=("${COMPREPLY[@]#"${current%"${current##*[$breaks]}"}"}")
  fi
}

complete -F _fenwright_cli fenwright-cli
)script";

/// What _fenwright_cli_values says of it, "" for an option without a value.
std::string BashValue(const ValueChoice& choice) {
  switch (choice.What) {
    case Kind::None:
      return "";
    case Kind::Words:
      return Quoted(Joined(choice.Words));
    case Kind::Port:
      return "PORT";
    case Kind::File:
      return "FILE";
    case Kind::Folder:
      return "FOLDER";
    case Kind::Fuse:
      break;
  }
  return "FUSE";
}

std::string BashValues(const Callable& callable, const std::string& verb) {
  std::string lines;
  for (const bool positional : {false, true}) {
    for (const CLI::Option* const option : callable.Options(positional)) {
      const std::string value = BashValue(ChoiceFor(*option, callable.Program));
      if (value.empty()) continue;
      const std::string name = positional ? "" : "--" + option->get_lnames().front();
      lines += fmt::format("    {}/{}) echo {} ;;\n", verb, name, value);
    }
  }
  return lines;
}

constexpr std::string_view kZsh = R"script(#compdef fenwright-cli
# Completion of fenwright-cli for zsh; "fenwright-cli completion zsh" prints it.

# The ports that this machine has, asked for when they are wanted.
_fenwright_cli_ports() {
  local -a ports=(all)
  local name port state rest
  LC_ALL=C $fenwright_cli ports 2>/dev/null | while read -r name port state rest; do
    if [[ $name == COM* && $state != missing ]]; then ports+=($name $port); fi
  done
  compadd -a ports
}

# FIELD=ITEM of the device, of all devices where the name is none: a field first, then its items.
_fenwright_cli_fuses() {
  local -a items
  local -aU fields
  case ${(U)${opt_args[--device]:-$device}} in
@FUSES@  esac
  if [[ $PREFIX == *=* ]]; then
    compadd -a items
  else
    fields=(${items%%=*})
    compadd -S '=' -a fields
  fi
}

_fenwright-cli() {
  local curcontext=$curcontext state device fenwright_cli=$words[1]
  local -a common verbs
  local -A opt_args
  common=(
@COMMON@  )
  _arguments -C $common ':verb:->verb' '*::argument:->argument' && return
  device=$opt_args[--device]
  case $state in
    verb)
      verbs=(
@VERBS@      )
      _describe verb verbs
      ;;
    argument)
      case $words[1] in
@ARGUMENTS@      esac
      ;;
  esac
}

# Sourced, it is defined; in a folder of fpath, it is the function itself.
if [[ $funcstack[1] == _fenwright-cli ]]; then
  _fenwright-cli "$@"
else
  compdef _fenwright-cli fenwright-cli
fi
)script";

/// What zsh does for a value.
std::string ZshAction(const ValueChoice& choice) {
  switch (choice.What) {
    case Kind::None:
      return " ";
    case Kind::Words:
      return "(" + Escaped(Joined(choice.Words), ":") + ")";
    case Kind::Port:
      return "_fenwright_cli_ports";
    case Kind::File:
      return "_files";
    case Kind::Folder:
      return "_files -/";
    case Kind::Fuse:
      break;
  }
  return "_fenwright_cli_fuses";
}

bool IsRepeated(const CLI::Option& option) {
  return option.get_items_expected_max() >= CLI::detail::expected_max_vector_size;
}

std::string ZshValue(const CLI::Option& option, const CLI::App& program) {
  const ValueChoice choice = ChoiceFor(option, program);
  if (choice.What == Kind::None) return "";
  const std::string name = option.get_positional() ? option.get_name() : option.get_type_name();
  return ":" + Escaped(name, ":") + ":" + ZshAction(choice);
}

/// What _arguments takes of an option or an argument.
std::string ZshArgument(const CLI::Option& option, const CLI::App& program) {
  const std::string value = ZshValue(option, program);
  if (option.get_positional()) {
    const char* const before = IsRepeated(option) ? "*" : option.get_required() ? "" : ":";
    return Quoted(before + value);
  }
  const std::string text = "[" + Escaped(Summary(option.get_description()), "[]\\") + "]" + value;
  const Texts names = NamesOf(option);
  if (names.size() > 1) {
    return fmt::format("'({})'{{{}}}{}", Joined(names), fmt::join(names, ","), Quoted(text));
  }
  return Quoted((IsRepeated(option) ? "*" : "") + names.front() + (value.empty() ? "" : "=") +
                text);
}

Texts ZshArguments(const Callable& callable) {
  Texts arguments;
  for (const bool positional : {false, true}) {
    for (const CLI::Option* const option : callable.Options(positional)) {
      arguments.push_back(ZshArgument(*option, callable.Program));
    }
  }
  return arguments;
}

constexpr std::string_view kFish =
    R"script(# Completion of fenwright-cli for fish; "fenwright-cli completion fish" prints it.

# The ports that this machine has, asked for when they are wanted.
function __fenwright_cli_ports
    set -l words (commandline -opc)
    echo all
    env LC_ALL=C $words[1] ports 2>/dev/null | while read -l name port state rest
        if string match -q 'COM*' -- $name; and test "$state" != missing
            printf '%s\n' $name $port
        end
    end
end

# FIELD=ITEM of the device, of all devices where the name is none.
function __fenwright_cli_fuses
    set -l device ''
    set -l before ''
    for word in (commandline -opc)
        if test "$before" = --device
            set device $word
        else if string match -q -- '--device=*' $word
            set device (string replace -- '--device=' '' $word)
        end
        set before $word
    end
    switch (string upper -- "$device")
@FUSES@    end
end

complete -c fenwright-cli -f
@LINES@)script";

std::string FishQuoted(std::string_view text) { return "'" + Escaped(text, "'\\") + "'"; }

/// The options of complete that stand for a value.
std::string FishValue(const ValueChoice& choice, bool positional) {
  const char* const required = positional ? "" : " -r";
  switch (choice.What) {
    case Kind::None:
      return "";
    case Kind::Words:
      return fmt::format("{} -f -a {}", required, FishQuoted(Joined(choice.Words)));
    case Kind::Port:
      return fmt::format("{} -f -a '(__fenwright_cli_ports)'", required);
    case Kind::File:
      return fmt::format("{} -F", required);
    case Kind::Folder:
      return fmt::format("{} -f -a '(__fish_complete_directories)'", required);
    case Kind::Fuse:
      break;
  }
  return fmt::format("{} -f -a '(__fenwright_cli_fuses)'", required);
}

std::string FishLines(const Callable& callable, const std::string& condition) {
  std::string lines;
  for (const bool positional : {false, true}) {
    for (const CLI::Option* const option : callable.Options(positional)) {
      std::string line = "complete -c fenwright-cli" + condition;
      for (const std::string& name : option->get_snames()) line += " -s " + name;
      for (const std::string& name : option->get_lnames()) line += " -l " + name;
      line += FishValue(ChoiceFor(*option, callable.Program), positional);
      if (!positional) line += " -d " + FishQuoted(Summary(option->get_description()));
      lines += line + "\n";
    }
  }
  return lines;
}

}  // namespace

ValueChoice ChoiceFor(const CLI::Option& option, const CLI::App& program) {
  if (option.get_items_expected_max() == 0) return {};
  const std::string& type = option.get_type_name();
  const std::string name = option.get_name();
  const auto words = [](Texts texts) {
    return ValueChoice{.What = Kind::Words, .Words = std::move(texts)};
  };
  if (name == "--port") return {.What = Kind::Port};
  if (name == "--device") return words(DeviceWords());
  if (name == "--simulate-chip") return words(ChipWords());
  if (name == "--simulate-fault") return words(FaultWords());
  if (name == "CODE") return words(CodeWords());
  if (name == "VERB") return words(VerbWords(program));
  if (type == "FIELD=ITEM") return {.What = Kind::Fuse};
  if (type.starts_with("PLACE")) return words({"flash:", "eeprom:"});
  if (type == "N") return words({"1"});
  if (type == "DIR") return {.What = Kind::Folder};
  if (Texts listed = ListedWords(type); !listed.empty()) return words(std::move(listed));
  return {.What = Kind::File};
}

std::vector<std::string> FuseWordsOf(std::string_view display_name) {
  Texts words;
  const fuse::FuseLayout& layout = fuse::LayoutOf(display_name);
  for (const screen::FuseList list : fuse::kFrameOrder) {
    const bool lock = list == screen::FuseList::Lock;
    if (lock ? !layout.LockListVisible : !fuse::HasField(layout, list)) continue;
    const std::string field(fuse::FieldName(list));
    if (lock) {
      for (const char* const mode : fuse::kLockModeNames) words.push_back(field + "=" + mode);
    } else if (const fuse::OptionList* const options = fuse::OptionsOf(list, display_name)) {
      for (const std::string_view item : options->Items) {
        words.push_back(field + "=" + std::string(item));
      }
    }
  }
  return words;
}

std::string BashCompletion(const CLI::App& program) {
  std::string options;
  std::string values = BashValues({program, program}, "*");
  for (const CLI::App* const verb : VerbsOf(program)) {
    const Callable callable{program, *verb};
    const std::string& name = verb->get_name();
    options += fmt::format("    {}) echo {} ;;\n", name, Quoted(Joined(OptionWords(callable))));
    values += BashValues(callable, name);
  }
  std::string script(kBash);
  Replace(script, "@FUSES@", FuseCases([](const std::string& device, const Texts& words) {
            return fmt::format("    {}) echo {} ;;\n", device, Quoted(Joined(words)));
          }));
  Replace(script, "@OPTIONS@", options);
  Replace(script, "@VALUES@", values);
  Replace(script, "@COMMON@", Joined(OptionWords({program, program})));
  Replace(script, "@VERBS@", Joined(VerbWords(program)));
  return script;
}

std::string ZshCompletion(const CLI::App& program) {
  std::string common;
  for (const std::string& argument : ZshArguments({program, program})) {
    common += "    " + argument + "\n";
  }
  std::string verbs;
  std::string arguments;
  for (const CLI::App* const verb : VerbsOf(program)) {
    const std::string& name = verb->get_name();
    verbs +=
        "        " + Quoted(name + ":" + Escaped(Summary(verb->get_description()), ":")) + "\n";
    arguments += fmt::format("        {}) _arguments $common {} ;;\n", name,
                             Joined(ZshArguments({program, *verb})));
  }
  std::string script(kZsh);
  Replace(script, "@FUSES@", FuseCases([](const std::string& device, const Texts& words) {
            return fmt::format("    {}) items=({}) ;;\n", device, Joined(words));
          }));
  Replace(script, "@COMMON@", common);
  Replace(script, "@VERBS@", verbs);
  Replace(script, "@ARGUMENTS@", arguments);
  return script;
}

std::string FishCompletion(const CLI::App& program) {
  std::string lines = FishLines({program, program}, "");
  for (const CLI::App* const verb : VerbsOf(program)) {
    const std::string& name = verb->get_name();
    lines +=
        fmt::format("complete -c fenwright-cli -n {} -a {} -d {}\n",
                    FishQuoted("not __fish_seen_subcommand_from " + Joined(VerbWords(program))),
                    name, FishQuoted(Summary(verb->get_description())));
    lines += FishLines({program, *verb}, fmt::format(" -n '__fish_seen_subcommand_from {}'", name));
  }
  std::string script(kFish);
  Replace(script, "@FUSES@", FuseCases([](const std::string& device, const Texts& words) {
            return fmt::format("        case {}\n            printf '%s\\n' {}\n",
                               device == "*" ? "'*'" : device, Joined(words));
          }));
  Replace(script, "@LINES@", lines);
  return script;
}

std::string CompletionFor(std::string_view shell, const CLI::App& program) {
  const auto found = std::ranges::find(kShells, shell, &Shell::Name);
  return found->Script(program);
}

}  // namespace fenwright::cli
