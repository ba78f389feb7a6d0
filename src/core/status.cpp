#include "core/status.h"

#include "core/trace_log.h"

namespace fenwright::core {
namespace {

void ShowSign(RunContext& context, screen::Outcome outcome, std::string_view reason) {
  context.State.ShownOutcome = outcome;
  context.Screen.StatusBar.SetOutcome(outcome, reason);
}

}  // namespace

void ShowStatus(RunContext& context, screen::Panel panel, std::string_view text) {
  context.Screen.StatusBar.SetPanelText(panel, text);
  if (panel == screen::Panel::Status) {
    context.State.StatusText = text;
    ShowSign(context, screen::Outcome::None, "");
  }
  TraceLog(context).AppendMessage(text);
}

void ShowStatus(RunContext& context, std::string_view text) {
  ShowStatus(context, screen::Panel::Status, text);
}

void ShowMessage(RunContext& context, std::string_view text, screen::MessageMode mode,
                 screen::Outcome outcome) {
  context.State.MessageText = text;
  context.State.Command.NoticeShown = mode != screen::MessageMode::Busy;
  context.Screen.MessageDialog.Show(text, mode);
  if (outcome != screen::Outcome::None) {
    // Where the panel has the very text, nothing is left to ask for.
    ShowOutcome(context, outcome, text == context.State.StatusText ? "" : text);
  }
  TraceLog(context).AppendMessage(text);
}

void ShowDetail(RunContext& context, std::string_view text) {
  context.Screen.MessageDialog.SetDetail(text);
  TraceLog(context).AppendMessage(text);
}

void ReportResult(RunContext& context, std::string_view text, screen::Outcome outcome) {
  ShowStatus(context, text);
  ShowMessage(context, text, screen::MessageMode::Notice, outcome);
}

void ShowOutcome(RunContext& context, screen::Outcome outcome, std::string_view reason) {
  context.State.Command.Outcome = outcome;
  context.State.Command.OutcomeReason = reason;
  context.Screen.MessageDialog.SetOutcome(outcome);
  ShowSign(context, outcome, reason);
}

void ShowOutcomeAgain(RunContext& context) {
  const CommandRecord& done = context.State.Command;
  if (done.Outcome != screen::Outcome::None) ShowSign(context, done.Outcome, done.OutcomeReason);
}

}  // namespace fenwright::core
