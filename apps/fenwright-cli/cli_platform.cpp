#include "cli_platform.h"

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <thread>
#include <utility>

#include "english.h"

namespace fenwright::cli {
namespace {

/// The signal that came first, 0 = none. Several runs look at it, each on a thread of its own.
std::atomic<int> interrupted = 0;
static_assert(std::atomic<int>::is_always_lock_free);

/// How many signals have come, and how many of them a stop request is.
std::atomic<int> signals = 0;
std::atomic<int> signals_to_stop = 1;

void NoteSignal(int number) {
  interrupted = number;
  // What is not Ctrl-C does not wait for the work to end.
  signals += number == SIGINT ? 1 : signals_to_stop.load();
  std::signal(number, signals < signals_to_stop ? NoteSignal : SIG_DFL);
}

#ifdef SIGBREAK
/// Comes on a thread of its own for Ctrl-Break, and when the console is closed or the user logs
/// off: the process ends with the return then, so the run is given the time to end by itself. The
/// system does not wait longer than this either.
void NoteBreak(int number) {
  constexpr std::chrono::seconds kLongest{5};
  NoteSignal(number);
  std::this_thread::sleep_for(kLongest);
}
#endif

/// A signal that the caller has the program ignore (nohup, a background job) stays ignored.
void CatchSignal(int number, void (*note)(int) = NoteSignal) {
  // Of a further run that begins after a stop request: the next signal ends the program.
  if (signals >= signals_to_stop) return;
  if (std::signal(number, note) == SIG_IGN) std::signal(number, SIG_IGN);
}

}  // namespace

SignalEventLoop::SignalEventLoop(core::AppState& state) : state_(state) {
  CatchSignal(SIGINT);
  CatchSignal(SIGTERM);
#ifdef SIGHUP
  CatchSignal(SIGHUP);
#endif
#ifdef SIGBREAK
  CatchSignal(SIGBREAK, NoteBreak);
#endif
#ifdef SIGPIPE
  // A reader of the output that goes away must not end the program in the middle of a write.
  std::signal(SIGPIPE, SIG_IGN);
#endif
}

int ProcessCode(ExitCode code) {
  constexpr int kSignals = 128;
  // The other ways to stop a run, Ctrl-Break say, count as Ctrl-C.
  bool terminated = interrupted == SIGTERM;
#ifdef SIGHUP
  terminated = terminated || interrupted == SIGHUP;
#endif
  return code == ExitCode::Stopped && terminated ? kSignals + interrupted : static_cast<int>(code);
}

void SignalEventLoop::ProcessPendingEvents() {
  if (signals >= signals_to_stop) state_.StopRequested = true;
}

void FinishWorkFirst() { signals_to_stop = 2; }

bool EndWasRequested() { return signals > 0; }

void PrintedStatusBar::SetPanelText(screen::Panel panel, std::string_view text) {
  if (panel == screen::Panel::Signature) signature_ = text;
  if (panel == screen::Panel::Status) console_.PrintStatus(text);
}

namespace {

struct PhaseWords {
  core::Phase Phase;
  core::Sentence Label;
  core::Sentence Unit;
};

const PhaseWords& WordsOf(core::Phase phase) {
  static const core::Sentence kWords{"ワード", "words"};
  static const core::Sentence kBytes{"バイト", "bytes"};
  static const std::array<PhaseWords, 9> kRows{{
      {core::Phase::None, {}, {}},
      {core::Phase::Erase, {"イレース", "erase"}, {}},
      {core::Phase::WriteFlash, {"フラッシュ", "flash"}, kWords},
      {core::Phase::WriteEeprom, {"EEPROM", "EEPROM"}, kBytes},
      {core::Phase::VerifyFlash, {"照合", "verify"}, kWords},
      {core::Phase::VerifyEeprom, {"照合 EEPROM", "verify EE"}, kBytes},
      {core::Phase::ReadFlash, {"フラッシュ", "flash"}, kWords},
      {core::Phase::ReadEeprom, {"EEPROM", "EEPROM"}, kBytes},
      {core::Phase::ReadFuses, {"ヒューズ", "fuses"}, {}},
  }};
  return kRows.at(static_cast<std::size_t>(phase));
}

}  // namespace

void PrintedMessageDialog::SetPhase(std::string_view /*text*/) {
  if (OnFirstPhase) std::exchange(OnFirstPhase, nullptr)();
  const PhaseWords& words = WordsOf(state_.Command.RunningPhase);
  console_.StartPhase(words.Label.In(language_), words.Unit.In(language_), EndOfPhase());
}

Console::PhaseEnd PrintedMessageDialog::EndOfPhase() const {
  return state_.LinkError == 0 ? Console::PhaseEnd::Done : Console::PhaseEnd::Failed;
}

void PrintedMessageDialog::Show(std::string_view text, screen::MessageMode mode) {
  console_.PrintStatus(text);
  detail_.clear();
  loaded_ = true;
  busy_ = mode == screen::MessageMode::Busy;
}

void PrintedMessageDialog::SetText(std::string_view text) {
  loaded_ = true;
  console_.PrintStatus(text);
}

void PrintedMessageDialog::Close() {
  console_.EndProgress(EndOfPhase());
  loaded_ = false;
  busy_ = false;
}

void PrintedMessageBoxes::Show(screen::MessageIcon /*icon*/, std::string_view title,
                               std::string_view text) {
  last_text_ = text;
  for (const std::string_view each : {title, text}) {
    if (each.empty()) continue;
    const bool japanese = language_ == core::Language::Japanese;
    console_.PrintError(japanese ? std::string(each) : EnglishOf(each));
  }
}

bool PrintedMessageBoxes::Ask(std::string_view title, std::string_view text) {
  Show(screen::MessageIcon::Information, title, text);
  return false;
}

platform::FileResult ReadOnlyFiles::Write(std::string_view /*path*/, std::string_view /*content*/) {
  return {.Code = platform::FileResult::Status::AccessRefused,
          .Reason = "this verb takes no folder to write to"};
}

std::unique_ptr<platform::FileWriter> ReadOnlyFiles::OpenForWriting(std::string_view path,
                                                                    platform::FileResult& result) {
  result = Write(path, "");
  return nullptr;
}

void ChosenDevice::SetDevices(const std::vector<std::string>& display_names) {
  names_ = display_names;
  index_ = -1;
}

void ChosenFuses::SetItems(screen::FuseList list, std::span<const std::string_view> items) {
  lists_[list].Items.assign(items.begin(), items.end());
  lists_[list].Index = -1;
}

int ChosenFuses::SelectedIndex(screen::FuseList list) const {
  const auto found = lists_.find(list);
  return found == lists_.end() ? -1 : found->second.Index;
}

bool ChosenFuses::Has(screen::FuseList list) const {
  const auto found = lists_.find(list);
  return found != lists_.end() && found->second.Enabled;
}

const std::vector<std::string>& ChosenFuses::Items(screen::FuseList list) const {
  return lists_.at(list).Items;
}

std::string ChosenFuses::ChosenText(screen::FuseList list) const {
  const int index = SelectedIndex(list);
  return index < 0 ? "" : lists_.at(list).Items.at(static_cast<std::size_t>(index));
}

}  // namespace fenwright::cli
