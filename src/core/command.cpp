#include "core/command.h"

namespace fenwright::core {
namespace {

/// Keeps `CommandRunning` true for its own lifetime.
class CommandGuard {
 public:
  explicit CommandGuard(AppState& state) : state_(state) { state_.CommandRunning = true; }
  ~CommandGuard() {
    state_.CommandRunning = false;
    state_.StopRequested = false;
  }
  CommandGuard(const CommandGuard&) = delete;
  CommandGuard& operator=(const CommandGuard&) = delete;

 private:
  AppState& state_;
};

void RunIgnoringEnd(const std::function<void()>& action) {
  if (!action) return;
  try {
    action();
  } catch (const CommandEnd&) {
    // The command is ending already; a trace that cannot be written was its reason.
  }
}

}  // namespace

void EndCommandOnFileError(std::string_view path, const platform::FileResult& result) {
  std::string text = "ファイルに書き込めないため、処理を中止しました。\r\n";
  text.append(path);
  text.append("\r\n").append(result.Reason);
  text.append(
      "\r\nディスクの空き容量とフォルダーの書き込み許可を確認してから、やり直してください。");
  throw CommandEnd{.Ending = CommandEnding::FileError, .Text = text};
}

CommandEnding RunCommand(RunContext& context, const std::function<void()>& body,
                         const std::function<void()>& on_early_end) {
  if (context.State.CommandRunning) return CommandEnding::Refused;
  const CommandGuard guard(context.State);
  try {
    body();
    return CommandEnding::Finished;
  } catch (const CommandEnd& end) {
    context.State.StopRequested = false;
    RunIgnoringEnd(on_early_end);
    context.Screen.MessageDialog.Close();
    if (!end.Text.empty()) {
      context.Screen.MessageBoxes.Show(screen::MessageIcon::Critical, "", end.Text);
    }
    return end.Ending;
  }
}

}  // namespace fenwright::core
