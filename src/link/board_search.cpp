#include "link/board_search.h"

#include <string>
#include <vector>

#include "core/trace_log.h"
#include "link/detection.h"
#include "link/identification.h"
#include "link/serial_link.h"
#include "platform/port_info.h"

namespace fenwright::link {
namespace {

/// Less than the link check allows: many ports may be asked, and a board answers at once.
constexpr double kSearchTimeoutSeconds = 0.6;

bool OpenOn(platform::SerialControl& port, int number) {
  port.SetCommPort(number);
  SetUpPort(port);
  return port.Open().Status == platform::PortOpenStatus::Ok;
}

/// As the link check identifies a board: the first "?" wakes one that was in the middle of
/// something, and its answer is thrown away.
bool AnswersAsBoard(core::RunContext& context) {
  platform::SerialControl& port = context.Line.ProgrammerPort;
  port.SetInputMode(platform::InputMode::Text);
  ClearInput(context);
  SendText(context, kEscape);
  Rest(context, kIdentifyRestSeconds);
  SendText(context, kIdentify);
  Rest(context, kIdentifyRestSeconds);
  ClearInput(context);
  SendText(context, kIdentify);
  bool found = false;
  if (WaitForBytes(context, kVersionReplyLength, kSearchTimeoutSeconds)) {
    const std::vector<std::uint8_t> bytes = port.Input();
    found = IsSupportedModel(std::string(bytes.begin(), bytes.end()));
  }
  port.SetInputMode(platform::InputMode::Binary);
  return found;
}

}  // namespace

int SearchBoard(core::RunContext& context, std::span<const int> ports) {
  platform::SerialControl& port = context.Line.ProgrammerPort;
  const bool was_open = port.PortOpen();
  const int before = port.CommPort();
  port.Close();
  for (const int number : ports) {
    if (!OpenOn(port, number)) continue;
    const bool found = AnswersAsBoard(context);
    port.Close();
    core::TraceLog(context).AppendMessage(platform::ComName(number) +
                                          (found ? " : ライターあり" : " : ライターなし"));
    if (found) return number;
  }
  port.SetCommPort(before);
  if (was_open) OpenOn(port, before);
  return 0;
}

}  // namespace fenwright::link
