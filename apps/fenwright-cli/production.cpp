#include "production.h"

#include <array>
#include <chrono>
#include <string_view>
#include <thread>

#include <fmt/format.h>

#include "core/device_catalogue.h"
#include "line_capture.h"
#include "ops/command.h"
#include "ops/socket_device.h"
#include "platform/system/terminal.h"

namespace fenwright::cli {
namespace {

/// What a look into the socket has shown.
enum class SocketState { NoBoard, NoChip, OtherChip, TheChip };

struct Tally {
  int Passed = 0;
  int Failed = 0;
  int Unreached = 0;  ///< strokes of Enter for which no board answered
};

/// True when no further chip is to be begun: Ctrl-C was pressed, or the record has lost a row, on
/// this board or on another one of the call.
class ShiftEnd {
 public:
  explicit ShiftEnd(const ChipRecord* record) : record_(record) {}
  [[nodiscard]] bool HasCome() const { return EndWasRequested() || RecordIsLost(); }
  [[nodiscard]] bool RecordIsLost() const { return record_ != nullptr && record_->IsLost(); }

 private:
  const ChipRecord* record_;
};

/// Looks once. Nothing of it is printed.
SocketState LookIntoSocket(const Options& call) {
  CapturedLines nothing;
  Options options = call;
  options.Lines = &nothing;
  options.Folder.clear();
  options.Log.clear();
  Session session(options);
  if (session.Start({.Folder = true, .AnyDevice = true, .Port = true}) != ExitCode::Success) {
    return SocketState::NoBoard;
  }
  ops::SocketContent content;
  ops::RunCommand(session.Context(), [&content](core::RunContext& context) {
    content = ops::IdentifySocket(context);
  });
  if (!session.State().Command.LinkReady) return SocketState::NoBoard;
  if (!content.Read) return SocketState::NoChip;
  for (const int index : content.Devices) {
    const auto& device = core::DeviceCatalogue()[static_cast<std::size_t>(index)];
    if (core::DeviceAlias(device.DisplayName) == options.Device) return SocketState::TheChip;
  }
  return SocketState::OtherChip;
}

void Rest() { std::this_thread::sleep_for(std::chrono::milliseconds(200)); }

/// Says each thing once, until there is another one to say.
class Notice {
 public:
  explicit Notice(Session& session) : session_(session) {}
  void Say(const core::Sentence& sentence) {
    if (sentence.English == last_) return;
    last_ = sentence.English;
    if (!session_.CallOptions().Quiet) session_.Out().PrintError(session_.In(sentence));
  }
  void Forget() { last_.clear(); }

 private:
  Session& session_;
  std::string last_;
};

/// Waits for the job's chip: it has to show twice in a row, since a contact that settles can show
/// anything. False when the end has come meanwhile.
bool WaitForChip(Session& session, Notice& notice, const ShiftEnd& end) {
  SocketState last = SocketState::NoChip;
  while (!end.HasCome()) {
    const SocketState state = LookIntoSocket(session.CallOptions());
    if (state == SocketState::TheChip && last == state) return true;
    switch (state) {
      case SocketState::NoBoard:
        notice.Say({"ボードの応答がありません。つながるのを待ちます",
                    "the board does not answer; waiting for it to come back"});
        break;
      case SocketState::OtherChip:
        notice.Say({"ソケットのチップはこのジョブのものではありません",
                    "the chip in the socket is not the one of this job"});
        break;
      case SocketState::NoChip:
        notice.Say({"次のチップを待っています (Ctrl-C で終わります)",
                    "waiting for the next chip (Ctrl-C ends)"});
        break;
      case SocketState::TheChip:
        break;
    }
    last = state;
    Rest();
  }
  return false;
}

/// Waits until the chip is out of the socket, which two looks have to agree on, or the board was
/// pulled. False when the end has come meanwhile.
bool WaitForRemoval(Session& session, Notice& notice, const ShiftEnd& end) {
  int without = 0;
  while (!end.HasCome()) {
    const SocketState state = LookIntoSocket(session.CallOptions());
    without = state == SocketState::NoChip || state == SocketState::NoBoard ? without + 1 : 0;
    if (without == 2) return true;
    notice.Say({"チップを取り出してください", "take the chip out"});
    Rest();
  }
  return false;
}

bool WaitForKey(EnterKey& key, int& seen, Notice& notice, const ShiftEnd& end) {
  key.Forget(seen);
  notice.Say({"チップを入れて Enter を押します (Ctrl-C で終わります)",
              "put a chip in and press Enter (Ctrl-C ends)"});
  while (!end.HasCome()) {
    const EnterKey::Event event = key.Wait(seen);
    if (event == EnterKey::Event::Pressed) return true;
    if (event == EnterKey::Event::Ended) return false;
  }
  return false;
}

/// The word in letters that are seen from across the room, line by line.
std::vector<std::string> LargeWord(bool good) {
  constexpr std::array<const char*, 5> kPass{"####   ###   ####  ####", "#   # #   # #     #    ",
                                             "####  #####  ###   ### ", "#     #   #     #     #",
                                             "#     #   # ####  #### "};
  constexpr std::array<const char*, 5> kFail{"#####  ###  ##### #    ", "#     #   #   #   #    ",
                                             "####  #####   #   #    ", "#     #   #   #   #    ",
                                             "#     #   # ##### #####"};
  const auto& letters = good ? kPass : kFail;
  return {letters.begin(), letters.end()};
}

void TellChip(Session& session, const ChipRow& row, const Tally& tally) {
  const bool good = row.Result == "pass" && !row.Lost;
  Console& out = session.Out();
  const int number = tally.Passed + tally.Failed;
  std::string line = fmt::format("{}  #{}", good ? "PASS" : "FAIL", number);
  if (row.Serial) line += fmt::format("  serial {}", *row.Serial);
  if (!row.Error.empty()) line += "  " + row.Error;
  line += fmt::format("  {:.1f} s", row.Seconds);
  const bool alone = session.CallOptions().Lines == nullptr;
  if (alone && !session.Json()) {
    for (const std::string& each : LargeWord(good)) out.Print(each);
    out.Ring(good ? 1 : 2);
  }
  out.Print(line);
}

Outcome Finish(Session& session, const Tally& tally) {
  const int chips = tally.Passed + tally.Failed;
  session.Out().Print(fmt::format(fmt::runtime(session.In({"チップ {} 個: 合格 {}、不合格 {}",
                                                           "chips: {}, passed: {}, failed: {}"})),
                                  chips, tally.Passed, tally.Failed));
  Outcome outcome{.Json = {{"chips", chips}, {"passed", tally.Passed}, {"failed", tally.Failed}}};
  if (tally.Failed > 0) {
    outcome.Code = ExitCode::Failed;
    session.NoteError({.Code = problem::kChipsFailed,
                       .Text = {"不合格のチップがありました", "not every chip has passed"}});
  } else if (chips == 0 && tally.Unreached > 0) {
    outcome.Code = ExitCode::NoProgrammer;
    session.NoteError({.Code = ops::trouble::kNoProgrammer,
                       .Text = {"ボードが応答しないため、どのチップにも書き込んでいません",
                                "no board has answered, and no chip was programmed"}});
  }
  return outcome;
}

}  // namespace

void EnterKey::Forget(int& seen) {
  const std::scoped_lock lock(mutex_);
  if (platform::DropTypedInput()) seen = strokes_;
}

EnterKey::Event EnterKey::Wait(int& seen) {
  constexpr double kSeconds = 0.1;
  {
    // One board reads, the others wait for what it finds.
    const std::scoped_lock lock(mutex_);
    if (strokes_ == seen && !ended_) {
      const std::optional<std::string> text = platform::ReadInputWithin(kSeconds);
      if (text && text->empty()) ended_ = true;
      for (const char character : text.value_or("")) {
        if (character == '\n') ++strokes_;
      }
    }
  }
  if (strokes_ > seen) {
    ++seen;
    return Event::Pressed;
  }
  return ended_ ? Event::Ended : Event::Nothing;
}

Outcome Produce(Session& session, const Production& production) {
  FinishWorkFirst();
  if (const ExitCode code = session.RequirePort(); code != ExitCode::Success) return {.Code = code};
  Options options = session.CallOptions();
  Notice notice(session);
  const ShiftEnd end(production.Order.Record);
  Tally tally;
  int seen = 0;
  while (!end.HasCome()) {
    const bool begin = production.Key != nullptr ? WaitForKey(*production.Key, seen, notice, end)
                                                 : WaitForChip(session, notice, end);
    if (!begin) break;
    notice.Forget();
    ChipRow row;
    ExitCode code = ExitCode::Success;
    {
      Options each = options;
      each.Json = false;
      each.Quiet = options.Quiet || options.Json;
      Session run(each);
      code = run.Start(kNeedsOfJob);
      if (code == ExitCode::Success) code = RunJob(run, production.Order, row).Code;
      if (row.Result.empty()) row.Error = run.ErrorCode();
      session.CheckLogOf(run);
    }
    // The board went before the chip was looked at; it is waited for.
    if (code == ExitCode::NoProgrammer && !row.Begun) {
      if (production.Key != nullptr) ++tally.Unreached;
      continue;
    }
    // The second Ctrl-C, which the user means for the chip as well.
    if (code == ExitCode::Stopped) {
      ++tally.Failed;
      if (row.Lost) {
        session.Warn({.Code = problem::kFileUnwritable,
                      .Text = {"記録に書けないため、止めたチップの行がありません",
                               "the record cannot be written, and has no row of the chip that was "
                               "stopped"}});
      }
      // Before the tally, which has failed chips to tell of.
      const ExitCode stop = session.FailStopped();
      Outcome stopped = Finish(session, tally);
      stopped.Code = stop;
      return stopped;
    }
    if (code == ExitCode::Success) {
      ++tally.Passed;
    } else {
      ++tally.Failed;
    }
    TellChip(session, row, tally);
    if (end.RecordIsLost()) break;
    if (production.Key == nullptr && !WaitForRemoval(session, notice, end)) break;
    notice.Forget();
  }
  if (!end.RecordIsLost()) return Finish(session, tally);
  // Before the tally, which may have failed chips to tell of.
  const ExitCode code = session.Fail(
      ExitCode::FileError, {.Code = problem::kFileUnwritable,
                            .Text = {"記録に書けないため、ここで終わります",
                                     "the record cannot be written, so this is the end"}});
  Outcome lost = Finish(session, tally);
  lost.Code = code;
  return lost;
}

}  // namespace fenwright::cli
