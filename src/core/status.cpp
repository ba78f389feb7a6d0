#include "core/status.h"

#include "core/trace_log.h"

namespace fenwright::core {

void ShowStatus(RunContext& context, platform::Panel panel, std::string_view text) {
  if (panel == platform::Panel::Status) context.State.StatusText = text;
  context.StatusBar.SetPanelText(panel, text);
  TraceLog(context).AppendMessage(text);
}

void ShowStatus(RunContext& context, std::string_view text) {
  ShowStatus(context, platform::Panel::Status, text);
}

void ShowMessage(RunContext& context, std::string_view text, platform::MessageMode mode) {
  context.State.MessageText = text;
  context.State.NoticeShown = mode != platform::MessageMode::Busy;
  context.MessageDialog.Show(text, mode);
  TraceLog(context).AppendMessage(text);
}

void ReportResult(RunContext& context, std::string_view text) {
  ShowStatus(context, text);
  ShowMessage(context, text, platform::MessageMode::Notice);
}

}  // namespace fenwright::core
