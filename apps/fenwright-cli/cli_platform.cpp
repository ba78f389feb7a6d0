#include "cli_platform.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <thread>

namespace fenwright::cli {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void NoteSignal(int number) {
  interrupted = 1;
  std::signal(number, SIG_DFL);
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
void Watch(int number, void (*note)(int) = NoteSignal) {
  if (std::signal(number, note) == SIG_IGN) std::signal(number, SIG_IGN);
}

}  // namespace

SignalEventLoop::SignalEventLoop(core::AppState& state) : state_(state) {
  Watch(SIGINT);
  Watch(SIGTERM);
#ifdef SIGHUP
  Watch(SIGHUP);
#endif
#ifdef SIGBREAK
  Watch(SIGBREAK, NoteBreak);
#endif
#ifdef SIGPIPE
  // A reader of the output that goes away must not end the program in the middle of a write.
  std::signal(SIGPIPE, SIG_IGN);
#endif
}

void SignalEventLoop::ProcessPendingEvents() {
  if (interrupted != 0) state_.StopRequested = true;
}

void PrintedStatusBar::SetPanelText(screen::Panel panel, std::string_view text) {
  if (panel == screen::Panel::Signature) signature_ = text;
  if (panel == screen::Panel::Status) console_.Print(text);
}

void PrintedMessageDialog::Show(std::string_view text, screen::MessageMode mode) {
  console_.EndProgress();
  console_.Print(text);
  detail_.clear();
  loaded_ = true;
  busy_ = mode == screen::MessageMode::Busy;
}

void PrintedMessageDialog::SetText(std::string_view text) {
  loaded_ = true;
  console_.Print(text);
}

void PrintedMessageDialog::Close() {
  console_.EndProgress();
  loaded_ = false;
  busy_ = false;
}

void PrintedMessageBoxes::Show(screen::MessageIcon /*icon*/, std::string_view title,
                               std::string_view text) {
  if (!title.empty()) console_.PrintError(title);
  console_.PrintError(text);
}

bool PrintedMessageBoxes::Ask(std::string_view title, std::string_view text) {
  Show(screen::MessageIcon::Information, title, text);
  return false;
}

std::optional<std::string> NoFileDialogs::Open(const screen::FileDialogRequest& /*request*/) {
  return std::nullopt;
}

std::optional<std::string> NoFileDialogs::Save(const screen::FileDialogRequest& /*request*/) {
  return std::nullopt;
}

void NoHandEdit::SetDataText(std::string_view /*text*/) {}

void NoGuide::SetIdle(screen::GuidePosition /*position*/) {}
void NoGuide::SetHighlighted(screen::GuidePosition /*position*/) {}

void NoViews::Clear(screen::View /*view*/) {}

void NoViews::Load(screen::View /*view*/, std::string_view /*path*/) {}

void ChosenDevice::SetDevices(const std::vector<std::string>& display_names) {
  names_ = display_names;
  index_ = -1;
}

std::string ChosenDevice::DeviceText() const {
  return index_ < 0 ? "" : names_.at(static_cast<std::size_t>(index_));
}

void ChosenDevice::SetMemoryLabels(std::string_view /*flash*/, std::string_view /*eeprom*/) {}

}  // namespace fenwright::cli
