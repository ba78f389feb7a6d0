#include "link/serial_link.h"

#include <algorithm>
#include <array>

#include "core/command_end.h"
#include "core/status.h"

namespace fenwright::link {
namespace {

/// Longest rest within one turn of a wait: short enough for the window to stay alive.
constexpr double kTurnSeconds = 0.005;

/// Shortest rest, so that the end of a wait is not approached in ever smaller steps.
constexpr double kShortestRestSeconds = 0.0001;

/// One turn of a wait, after its look at the count: pending events run, then the processor rests
/// until a byte arrives, a few milliseconds at most. Every wait of the program goes through here.
void Turn(core::RunContext& context, platform::SerialControl& port,
          double longest_rest = kTurnSeconds) {
  context.Line.Events.ProcessPendingEvents();
  port.RestUntilInput(std::clamp(longest_rest, kShortestRestSeconds, kTurnSeconds));
}

/// Turns that a wait still takes once a stop is requested, a quarter of a second: the running
/// exchange is to return, so that it is known what the chip holds. They are counted, since the
/// clock is no measure over midnight.
constexpr int kTurnsAfterStop = 50;

void EndIfStopRequested(const core::RunContext& context) {
  if (context.State.StopRequested) throw core::CommandEnd{};
}

/// Turns until `seconds` have passed since `start`, which a wait within a turn may have set anew,
/// or the day ends.
void TurnUntil(core::RunContext& context, const double& start, double seconds) {
  for (;;) {
    const double now = context.Line.Clock.SecondsSinceMidnight();
    const double left = start + seconds - now;
    if (left <= 0 || now < start) return;
    // Takes note of what has arrived: an arrived byte that nobody has counted ends a rest at once.
    context.Line.ProgrammerPort.InBufferCount();
    Turn(context, context.Line.ProgrammerPort, left);
  }
}

}  // namespace

void SetUpPort(platform::SerialControl& port) {
  port.SetSettings(kPortSettings);
  port.SetHandshaking(0);
  port.SetInputLen(0);
  port.SetRTSEnable(true);
  port.SetRThreshold(1);
  port.DiscardInput();
}

void ClearInput(core::RunContext& context) { context.Line.ProgrammerPort.DiscardInput(); }

void SendText(core::RunContext& context, char character) {
  EndIfStopRequested(context);
  const std::array<std::uint8_t, 1> bytes{static_cast<std::uint8_t>(character)};
  context.Line.ProgrammerPort.Output(bytes);
}

void SendByte(core::RunContext& context, std::uint8_t value) {
  context.State.TxByte = {value};
  context.Line.ProgrammerPort.Output(context.State.TxByte);
}

bool WaitForBytes(core::RunContext& context, int count, double timeout_seconds) {
  context.State.WaitStart = context.Line.Clock.SecondsSinceMidnight();
  const bool arrived = WaitForBytesOn(context, context.Line.ProgrammerPort, count,
                                      context.State.WaitStart, timeout_seconds);
  if (!arrived) EndIfStopRequested(context);
  return arrived;
}

bool WaitForBytesOn(core::RunContext& context, platform::SerialControl& port, int count,
                    const double& start, double timeout_seconds) {
  int turns_after_stop = 0;
  while (port.InBufferCount() < count) {
    // Bytes may have arrived just before the line went, or during the turn that the wait ended in:
    // the count has the last word.
    if (port.IsGone()) {
      context.Line.Events.ProcessPendingEvents();
      return port.InBufferCount() >= count;
    }
    Turn(context, port);
    const bool out_of_time = context.Line.Clock.SecondsSinceMidnight() > start + timeout_seconds;
    if (context.State.StopRequested) ++turns_after_stop;
    if (out_of_time || turns_after_stop == kTurnsAfterStop) {
      return port.InBufferCount() >= count;
    }
  }
  return true;
}

void ReadReply(core::RunContext& context) {
  context.State.RxBuf = context.Line.ProgrammerPort.Input();
}

void Pause(core::RunContext& context, double seconds) {
  context.State.WaitStart = context.Line.Clock.SecondsSinceMidnight();
  TurnUntil(context, context.State.WaitStart, seconds);
}

void Rest(core::RunContext& context, double seconds) {
  const double start = context.Line.Clock.SecondsSinceMidnight();
  TurnUntil(context, start, seconds);
}

bool RestForBytes(core::RunContext& context, int count, double seconds) {
  platform::SerialControl& port = context.Line.ProgrammerPort;
  const double start = context.Line.Clock.SecondsSinceMidnight();
  while (port.InBufferCount() < count) {
    const double now = context.Line.Clock.SecondsSinceMidnight();
    if (port.IsGone() || now >= start + seconds || now < start) return false;
    Turn(context, port, start + seconds - now);
  }
  return true;
}

void SendEscape(core::RunContext& context) {
  context.Line.ProgrammerPort.SetInputMode(platform::InputMode::Text);
  ClearInput(context);
  const std::array<std::uint8_t, 1> bytes{kEscape};
  context.Line.ProgrammerPort.Output(bytes);
  context.Line.ProgrammerPort.SetInputMode(platform::InputMode::Binary);
}

void ShowCommError(core::RunContext& context) {
  core::ShowMessage(context, "通信エラーが発生しました。", screen::MessageMode::Notice,
                    screen::Outcome::Failure);
}

}  // namespace fenwright::link
