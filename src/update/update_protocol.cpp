#include "update/update_protocol.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>

#include "core/elapsed.h"
#include "core/hex_format.h"
#include "core/numbers.h"
#include "core/text_lines.h"
#include "link/serial_link.h"
#include "platform/port_info.h"
#include "update/update_report.h"
#include "update/update_words.h"

namespace fenwright::update {
namespace {

using screen::MessageIcon;

constexpr std::array<std::uint8_t, 1> kEnterUpdate{'U'};
constexpr std::array<std::uint8_t, 4> kEndFrame{0xFF, 0xFF, 0xFF, 0xFF};
constexpr double kEnterRestSeconds = 1.0;
constexpr double kReleaseRestSeconds = 0.2;
constexpr double kAcknowledgeTimeoutSeconds = 2;
constexpr double kVersionTimeoutSeconds = 1;
constexpr int kVersionReplyLength = 16;
constexpr std::size_t kVersionTextLength = 15;
constexpr int kProgressWords = 0x1F00;
constexpr std::uint32_t kRed = 255;
constexpr std::int16_t kTrue = -1;

constexpr std::string_view kTitle = "ファームウエアアップデート";

struct SpeedRow {
  std::string_view Text;
  std::string_view Settings;
};
constexpr std::array<SpeedRow, 3> kSpeeds{
    {{" 9600", "9600,n,8,1"}, {"19200", "19200,n,8,1"}, {"57600", "57600,n,8,1"}}};

/// How streaming a file, a record or a word went.
enum class Step { Good, TimedOut, Mismatch, Stopped };

bool StopRequested(const UpdateContext& context) { return context.Run.State.StopRequested; }

/// Sleeps, with window events running; a requested stop ends it. It counts its turns, not the
/// clock's time, so that midnight does not cut it short.
void Sleep(UpdateContext& context, double seconds) {
  constexpr double kTurnSeconds = 0.005;
  const int turns = static_cast<int>(std::lround(seconds / kTurnSeconds));
  for (int turn = 0; turn < turns; ++turn) {
    context.Run.Line.Events.ProcessPendingEvents();
    if (StopRequested(context)) return;
    context.Run.Line.Clock.Sleep(kTurnSeconds);
  }
}

bool WaitForBytes(UpdateContext& context, int count, double timeout_seconds) {
  const double start = context.Run.Line.Clock.SecondsSinceMidnight();
  return link::WaitForBytesOn(context.Run, context.UpdaterPort, count, start, timeout_seconds);
}

bool EqualsIgnoringCase(std::string_view text, std::string_view upper) {
  return std::ranges::equal(text, upper, [](unsigned char a, unsigned char b) {
    return std::toupper(a) == static_cast<int>(b);
  });
}

/// Each byte is one character of its own, whatever it would mean together with its neighbour.
std::string VersionText(const UpdateContext& context) {
  std::string text;
  const std::span<const std::uint8_t> reply(context.State.ReceiveBuffer);
  for (const std::uint8_t value : reply.first(std::min(reply.size(), kVersionTextLength))) {
    const char byte = static_cast<char>(value);
    text += context.Run.Storage.CodePage.ToUtf8({&byte, 1});
  }
  return text;
}

Step SendWord(UpdateContext& context, const UpdateWord& word) {
  UpdateState& state = context.State;
  context.UpdaterPort.DiscardInput();
  state.UpdateFrame = {static_cast<std::uint8_t>(word.Address / 256),
                       static_cast<std::uint8_t>(word.Address % 256), word.High, word.Low};
  context.UpdaterPort.Output(state.UpdateFrame);
  ++state.WordsSent;
  if (!WaitForBytes(context, 1, kAcknowledgeTimeoutSeconds)) {
    return StopRequested(context) ? Step::Stopped : Step::TimedOut;
  }
  state.ReceiveBuffer = context.UpdaterPort.Input();
  if (state.ReceiveBuffer.empty()) return Step::TimedOut;
  unsigned sum = 0;
  for (const std::uint8_t byte : state.UpdateFrame) sum += byte;
  return state.ReceiveBuffer.front() == sum % 256 ? Step::Good : Step::Mismatch;
}

/// `word` is the word that it came to.
Step StreamRecord(UpdateContext& context, std::string_view line, UpdateWord& word) {
  const auto head = ReadRecordHead(line);
  if (!head) return Step::TimedOut;
  for (std::int32_t offset = 0; HasWordAt(*head, offset); offset += kWordCharacters) {
    context.Run.Line.Events.ProcessPendingEvents();
    if (StopRequested(context)) return Step::Stopped;
    const auto next = ReadWord(line, *head, offset);
    if (!next) return Step::TimedOut;
    word = *next;
    if (IsSent(word.Address)) {
      if (const Step step = SendWord(context, word); step != Step::Good) return step;
    }
    ShowProgress(context, "on", 0, kProgressWords, word.Address);
  }
  return Step::Good;
}

Step StreamFile(UpdateContext& context, const std::string& path, UpdateWord& word) {
  std::string content;
  if (!context.Run.Storage.Files.Read(path, content)) return Step::TimedOut;
  for (std::string_view rest = content; !rest.empty();) {
    const std::string_view line = core::TakeLine(rest);
    if (!IsDataRecord(line)) continue;
    if (const Step step = StreamRecord(context, line, word); step != Step::Good) return step;
  }
  return Step::Good;
}

UpdateOutcome Finish(UpdateContext& context, double start) {
  context.UpdaterPort.DiscardInput();
  context.UpdaterPort.Output(kEndFrame);
  context.State.Now = Activity::Busy;
  const double seconds = std::trunc(context.Run.Line.Clock.SecondsSinceMidnight() - start);
  ShowStatus(context,
             "アップデート完了。  " + std::to_string(static_cast<std::int32_t>(seconds)) + "sec");
  context.MessageBoxes.Show(
      MessageIcon::Information, kTitle,
      "　　　 ファームウエアアップデートが完了しました。  電源を再投入してください。  "
      "　　　　　　　\r\n　");
  return UpdateOutcome::Finished;
}

UpdateOutcome FailByTimeOut(UpdateContext& context, const UpdateWord& word) {
  context.State.UpdateFailed = kTrue;
  context.State.Now = Activity::Busy;
  // The two bytes cannot always be told apart, 0C 94 reads C94: that is intended.
  ShowStatus(context, "***　アップデート失敗　*** Address=0x" +
                          core::HexUnpadded(static_cast<std::uint32_t>(word.Address)) + " Data=0x" +
                          core::HexUnpadded(word.High) + core::HexUnpadded(word.Low));
  context.Form.SetDetail(DescribeBoardState(context.State, core::Language::Japanese));
  context.MessageBoxes.Show(MessageIcon::Information, kTitle,
                            "　　　***　アップデート失敗　***　　　　　　\r\n　");
  ShowProgress(context, "off", 0, 0, 0);
  return UpdateOutcome::TimedOut;
}

/// No message box, and the bar stays as it is.
UpdateOutcome FailByMismatch(UpdateContext& context) {
  context.State.Now = Activity::Busy;
  context.Form.SetDetail(DescribeBoardState(context.State, core::Language::Japanese));
  context.Form.SetInstructionsBackground(kRed);
  // "確立" is deliberate.
  context.Form.SetInstructions(
      "途中でファームウエアアップデートが失敗しました。\r\n"
      "アップデートが正常に終了できなかったので、アップデート作業を"
      "再開できない確立が高いです。"
      "このような場合は、通常の書き込みを行なう必要があります。\r\n"
      "　　　　　　　error data = 0x" +
      core::HexUnpadded(context.State.ReceiveBuffer.front()));
  ShowStatus(context, "***　アップデート失敗　***");
  return UpdateOutcome::Mismatch;
}

bool NumberIsChosen(std::string_view port_text) { return port_text != "?" && !port_text.empty(); }

UpdateOutcome Stop(UpdateContext& context) {
  context.State.Now = Activity::Busy;
  ShowStatus(context, "アップデートを中止しました。");
  return UpdateOutcome::Stopped;
}

}  // namespace

void ReleaseMainPort(UpdateContext& context) {
  platform::SerialControl& port = context.Run.Line.ProgrammerPort;
  port.DiscardInput();
  port.DiscardOutput();
  for (int round = 0; round < 2; ++round) Sleep(context, kReleaseRestSeconds);
  context.Run.Line.Events.ProcessPendingEvents();
  if (port.PortOpen()) port.Close();
}

bool OpenUpdaterPort(UpdateContext& context) {
  ReleaseMainPort(context);
  platform::SerialControl& port = context.UpdaterPort;
  if (port.PortOpen()) port.Close();
  port.SetInputMode(platform::InputMode::Binary);
  port.SetHandshaking(0);
  port.SetInputLen(0);
  port.SetRThreshold(0);
  port.DiscardInput();
  const std::string speed = context.Form.SpeedText();
  for (const SpeedRow& row : kSpeeds) {
    if (speed == row.Text) port.SetSettings(row.Settings);
  }
  const std::string text = context.Form.PortText();
  if (!NumberIsChosen(text)) {
    // Deliberate: the update goes on, with the number that the port has.
    context.Form.SetDetail("警告：ポート番号が選ばれていないので、" +
                           platform::ComName(port.CommPort()) +
                           " を使います。ライターをつないだ番号を選んでください。");
    context.MessageBoxes.Show(MessageIcon::Information, "", "ポート番号を設定してください。");
    return true;
  }
  using Limits = std::numeric_limits<std::int16_t>;
  const auto number = core::ParseWholeNumber(text, Limits::min(), Limits::max());
  if (!number) return false;
  port.SetCommPort(*number);
  return true;
}

bool OpenPort(UpdateContext& context) {
  platform::PortOpenResult& result = context.State.LastPortOpen;
  result = {.Status = platform::PortOpenStatus::Failed, .Path = "", .Reason = ""};
  if (OpenUpdaterPort(context)) result = context.UpdaterPort.Open();
  const bool opened = result.Status == platform::PortOpenStatus::Ok;
  if (!opened) ShowStatus(context, "通信ポートをオープンできませんでした。");
  // The warning of a number that was not chosen stays.
  if (!opened || NumberIsChosen(context.Form.PortText())) context.Form.SetDetail(result.Reason);
  return opened;
}

void ShowStatus(UpdateContext& context, std::string_view text) { context.Form.SetStatusText(text); }

void ShowProgress(UpdateContext& context, std::string_view mode, int minimum, int maximum,
                  int value) {
  if (EqualsIgnoringCase(mode, "OFF") || maximum <= value) {
    context.Form.SetProgress(minimum);
    context.Run.Line.Events.ProcessPendingEvents();
    return;
  }
  constexpr double kParts = 100;
  const double part = maximum / kParts;
  if (!EqualsIgnoringCase(mode, "ON") || std::trunc(part) == 0) return;
  if (value % std::lrint(part) != 0) return;
  context.Form.ShowProgress(minimum, maximum, value);
}

VersionOutcome ReadVersion(UpdateContext& context) {
  UpdateState& state = context.State;
  state.UpdateFailed = 0;
  if (!OpenPort(context)) {
    state.UpdateFailed = kTrue;
    return VersionOutcome::PortNotOpened;
  }
  context.UpdaterPort.DiscardInput();
  context.UpdaterPort.Output(state.VersionRequest);
  if (!WaitForBytes(context, kVersionReplyLength, kVersionTimeoutSeconds)) {
    context.MessageBoxes.Show(MessageIcon::Information, "",
                              "　　***　ファームウエアアップデート　コミュニケーション失敗。　"
                              "***　　　　　　\r\n　");
    state.UpdateFailed = kTrue;
    return VersionOutcome::NoReply;
  }
  state.ReceiveBuffer = context.UpdaterPort.Input();
  context.Form.SetVersionText(VersionText(context));
  ShowStatus(context, "ファームウエアバージョンをリードしました。");
  return VersionOutcome::Read;
}

UpdateOutcome RunFirmwareUpdate(UpdateContext& context, const std::string& path) {
  context.State.WordsSent = 0;
  if (StopRequested(context)) return Stop(context);
  context.State.Now = Activity::Updating;
  const double start = context.Run.Line.Clock.SecondsSinceMidnight();
  context.UpdaterPort.DiscardInput();
  context.UpdaterPort.Output(kEnterUpdate);
  Sleep(context, kEnterRestSeconds);
  UpdateWord word;
  const double first_word = context.Run.Line.Clock.SecondsSinceMidnight();
  const Step step = StreamFile(context, path, word);
  context.State.StreamSeconds = core::SecondsSince(context.Run.Line.Clock, first_word);
  switch (step) {
    case Step::Good:
      return Finish(context, start);
    case Step::Mismatch:
      return FailByMismatch(context);
    case Step::Stopped:
      return Stop(context);
    case Step::TimedOut:
      break;
  }
  return FailByTimeOut(context, word);
}

}  // namespace fenwright::update
