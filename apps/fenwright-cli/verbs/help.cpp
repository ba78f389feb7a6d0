#include "help.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "suggest.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

Outcome FailWithoutVerb(Session& session, const std::string& name) {
  std::vector<std::string> names;
  names.reserve(kVerbs.size());
  for (const Verb* const verb : kVerbs) names.emplace_back(verb->Name);
  const std::string meant = ClosestWord(name, names);
  return {.Code = session.Fail(
              ExitCode::Usage,
              {.Code = problem::kUsage,
               .Text = {fmt::format("「{}」というサブコマンドはありません{}", name,
                                    meant.empty() ? "" : "。" + meant + " のことですか"),
                        fmt::format("there is no verb \"{}\"{}", name,
                                    meant.empty() ? "" : "; did you mean " + meant + "?")},
               .Cure = {"fenwright-cli help がすべてのサブコマンドを示します。",
                        "\"fenwright-cli help\" lists all of them"}})};
}

Outcome Help(Session& session, const CLI::App& app, const std::string& name) {
  const CLI::App* shown = &app;
  nlohmann::json verbs = nlohmann::json::array();
  for (const CLI::App* const verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!name.empty() && verb->get_name() != name) continue;
    if (!name.empty()) shown = verb;
    verbs.push_back({{"name", verb->get_name()}, {"description", verb->get_description()}});
  }
  if (verbs.empty()) return FailWithoutVerb(session, name);
  const std::string text = HelpOf(*shown);
  return {.Code = session.Out().PrintResult(text), .Json = {{"help", text}, {"verbs", verbs}}};
}

VerbRun BindHelp(CLI::App& command) {
  const auto name = std::make_shared<std::string>();
  command.add_option("VERB", *name, "the verb that is meant (default: all)");
  return [&command, name](Session& session) { return Help(session, *command.get_parent(), *name); };
}

}  // namespace

const Verb kHelp{
    .Name = "help",
    .Description = "say what a verb does and what it takes, with examples",
    .Needed = {},
    .Bind = BindHelp,
    .Examples = {{{"help program", "program の使い方を出します", "what \"program\" does and takes"},
                  {"help", "すべてのサブコマンドを一覧にします", "list all verbs"}}}};

}  // namespace fenwright::cli
