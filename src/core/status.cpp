#include "core/status.h"

#include "core/trace_log.h"

namespace fenwright::core {

void ShowStatus(RunContext& context, screen::Panel panel, std::string_view text) {
  if (panel == screen::Panel::Status) context.State.StatusText = text;
  context.Screen.StatusBar.SetPanelText(panel, text);
  TraceLog(context).AppendMessage(text);
}

void ShowStatus(RunContext& context, std::string_view text) {
  ShowStatus(context, screen::Panel::Status, text);
}

void ShowMessage(RunContext& context, std::string_view text, screen::MessageMode mode) {
  context.State.MessageText = text;
  context.State.Command.NoticeShown = mode != screen::MessageMode::Busy;
  context.Screen.MessageDialog.Show(text, mode);
  TraceLog(context).AppendMessage(text);
}

void ShowDetail(RunContext& context, std::string_view text) {
  context.Screen.MessageDialog.SetDetail(text);
  TraceLog(context).AppendMessage(text);
}

void ReportResult(RunContext& context, std::string_view text) {
  ShowStatus(context, text);
  ShowMessage(context, text, screen::MessageMode::Notice);
}

}  // namespace fenwright::core
