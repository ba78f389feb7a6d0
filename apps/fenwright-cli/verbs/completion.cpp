#include "completion.h"

#include <memory>
#include <string>
#include <vector>

#include "verbs.h"

namespace fenwright::cli {
namespace {

VerbRun BindCompletion(CLI::App& command) {
  const auto name = std::make_shared<std::string>();
  std::vector<std::string> names;
  names.reserve(std::size(kShells));
  for (const Shell& shell : kShells) names.emplace_back(shell.Name);
  command.add_option("SHELL", *name, "the shell that the script is for")
      ->required()
      ->type_name("bash|zsh|fish")
      ->check(CLI::IsMember(names).description(""));
  return [&command, name](Session& session) -> Outcome {
    const std::string script = CompletionFor(*name, *command.get_parent());
    return {.Code = session.Out().PrintResult(script), .Json = {{"script", script}}};
  };
}

}  // namespace

const Verb kCompletion{
    .Name = "completion",
    .Description = "print the script that completes verbs, options and their values in a shell",
    .Needed = {},
    .Bind = BindCompletion,
    .Examples = {{{"completion bash > ~/.local/share/bash-completion/completions/fenwright-cli",
                   "bashに覚えさせます", "teach bash"},
                  {"completion zsh > ~/.zfunc/_fenwright-cli",
                   "zshに覚えさせます (~/.zfunc は fpath の中にあること)",
                   "teach zsh, with ~/.zfunc in its fpath"},
                  {"completion fish > ~/.config/fish/completions/fenwright-cli.fish",
                   "fishに覚えさせます", "teach fish"}}}};

}  // namespace fenwright::cli
