#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "explanations.h"
#include "suggest.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

nlohmann::json AsJson(const Session& session, const Explanation& row) {
  return {{"code", row.Code},
          {"cause", session.In(row.Cause)},
          {"checks", session.In(row.Checks)},
          {"cure", session.In(row.Cure)}};
}

std::string AsText(const Session& session, const Explanation& row) {
  return fmt::format("{}\n{}{}\n{}{}\n{}{}\n", row.Code, session.In({"  原因: ", "  cause: "}),
                     session.In(row.Cause), session.In({"  確認: ", "  check: "}),
                     session.In(row.Checks), session.In({"  対処: ", "  cure:  "}),
                     session.In(row.Cure));
}

Outcome Explain(Session& session, const std::string& code) {
  std::string text;
  nlohmann::json list = nlohmann::json::array();
  std::vector<std::string> codes;
  for (const Explanation& row : Explanations()) {
    codes.emplace_back(row.Code);
    if (!code.empty() && row.Code != code) continue;
    text += (text.empty() ? "" : "\n") + AsText(session, row);
    list.push_back(AsJson(session, row));
  }
  if (!list.empty()) {
    return {.Code = session.Out().PrintResult(text), .Json = {{"explanations", list}}};
  }
  const std::string meant = ClosestWord(code, codes);
  return {.Code = session.Fail(
              ExitCode::Usage,
              {.Code = problem::kUsage,
               .Text = {fmt::format("「{}」というコードはありません{}", code,
                                    meant.empty() ? "" : "。" + meant + " のことですか"),
                        fmt::format("there is no code \"{}\"{}", code,
                                    meant.empty() ? "" : "; did you mean " + meant + "?")},
               .Cure = {"fenwright-cli explain がすべてのコードを示します。",
                        "\"fenwright-cli explain\" lists all of them"}})};
}

VerbRun BindExplain(CLI::App& command) {
  const auto code = std::make_shared<std::string>();
  command.add_option("CODE", *code, "a code that an error or a warning has (default: all)");
  return [code](Session& session) { return Explain(session, *code); };
}

}  // namespace

const Verb kExplain{
    .Name = "explain",
    .Description = "say what a code means, what to check and what to do",
    .Needed = {},
    .Bind = BindExplain,
    .Examples = {{{"explain wrong-chip", "一つのコードを説明します", "explain one code"},
                  {"explain", "すべてのコードを説明します", "explain all of them"}}}};

}  // namespace fenwright::cli
