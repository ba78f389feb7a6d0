#include "console.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <utility>

#include <fmt/format.h>

#include "english.h"
#include "platform/system/printable.h"
#include "platform/system/terminal.h"

namespace fenwright::cli {

namespace {

/// What failed before does not keep this text from its chance.
bool WriteTo(std::ostream& stream, std::string_view text) {
  stream.clear();
  stream << text << std::flush;
  return stream.good();
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// See https://no-color.org.
bool ColoursWanted() {
  const char* const value = std::getenv("NO_COLOR");
  return value == nullptr || *value == '\0';
}

}  // namespace

Console::Console(const Options& options)
    : outside_(platform::OutsideOf(options.Words)),
      language_(options.Language),
      quiet_(options.Quiet || options.Json),
      json_(options.Json),
      verbose_(options.Verbose),
      terminal_(options.Lines != nullptr || platform::ErrorIsTerminal()),
      colours_(options.Lines == nullptr && platform::OutputIsTerminal() && ColoursWanted()),
      sink_(options.Lines) {
  NoteOutside(options.Port);
}

void Console::NoteOutside(const std::string& text) {
  for (std::string& part : platform::OutsideOf(std::array{text})) {
    outside_.push_back(std::move(part));
  }
}

void Console::Print(std::string_view text) {
  if (quiet_) return;
  if (output_for_result_) {
    PrintError(text);
  } else {
    PrintAlways(text);
  }
}

ExitCode Console::PrintResult(std::string_view text) {
  return json_ || PrintAlways(text) ? ExitCode::Success : ExitCode::FileError;
}

ExitCode Console::PrintResult(std::string_view text, Side side) {
  if (!colours_) return PrintResult(text);
  if (json_) return ExitCode::Success;
  const char* const colour = side == Side::Expected ? "\x1B[31m" : "\x1B[32m";
  std::string line = AsLine(text);
  line.insert(line.size() - 1, "\x1B[0m");
  return WriteOutput(colour + line) ? ExitCode::Success : ExitCode::FileError;
}

bool Console::PrintAlways(std::string_view text) { return WriteOutput(AsLine(text)); }

bool Console::WriteOutput(std::string_view text) {
  ClearBar();
  const bool written = sink_ != nullptr ? sink_->Output(text) : WriteTo(std::cout, text);
  result_written_ = result_written_ && written;
  return written;
}

void Console::PrintError(std::string_view text) {
  ClearBar();
  if (sink_ != nullptr) {
    sink_->Error(AsLine(text));
  } else {
    WriteTo(std::cerr, AsLine(text));
  }
}

void Console::PrintProgress(std::string_view text) {
  // Of one board of several there is no room for it.
  if (!quiet_ && sink_ == nullptr) PrintError(text);
}

void Console::PrintStatus(std::string_view text) {
  if (!verbose_ || quiet_ || text == last_status_) return;
  last_status_ = text;
  PrintError(language_ == core::Language::Japanese ? std::string(text) : EnglishOf(text));
}

void Console::StartPhase(std::string_view label, std::string_view unit, PhaseEnd before) {
  if (label == label_) return;
  EndProgress(before);
  label_ = label;
  unit_ = unit;
  if (sink_ != nullptr && !quiet_) sink_->Progress(label, 0);
  phase_start_ = std::chrono::steady_clock::now();
}

void Console::StartProgress(int maximum) {
  maximum_ = maximum;
  value_ = 0;
  shown_percent_ = -1;
  start_ = std::chrono::steady_clock::now();
}

void Console::ShowProgress(int value) {
  value_ = std::max(value_, value);
  if (quiet_ || !terminal_ || maximum_ <= 0) return;
  constexpr int kAll = 100;
  const int percent = std::min(kAll, static_cast<int>(std::int64_t{kAll} * value / maximum_));
  if (percent == shown_percent_) return;
  shown_percent_ = percent;
  if (sink_ != nullptr) {
    sink_->Progress(label_, percent);
    return;
  }
  DrawBar(percent, value > 0 ? SecondsSince(start_) * (maximum_ - value) / value : 0);
}

/// Columns for the longest label: "verify EE", or its Japanese.
int Console::LabelWidth() const {
  constexpr int kEnglish = 9;
  constexpr int kJapanese = 11;
  return language_ == core::Language::Japanese ? kJapanese : kEnglish;
}

/// "4096 words", or "1234 of 4096 words".
std::string Console::Count() const {
  if (maximum_ <= 0) return "";
  // What is counted last is the step that begins last.
  return value_ + 1 >= maximum_ ? fmt::format("{} {}", maximum_, unit_)
                                : fmt::format("{} / {} {}", value_, maximum_, unit_);
}

void Console::EndProgress(PhaseEnd end) {
  ClearBar();
  if (!label_.empty()) {
    const bool japanese = language_ == core::Language::Japanese;
    std::string result = end == PhaseEnd::Done ? Count() : japanese ? "失敗" : "failed";
    if (result.empty()) result = japanese ? "完了" : "done";
    const std::string line = fmt::format("{:<{}} {:<18} {:6.1f} s", label_, LabelWidth(), result,
                                         SecondsSince(phase_start_));
    label_.clear();
    PrintProgress(line);
  }
  maximum_ = 0;
}

/// One line for the terminal, with one LF at its end, whatever the text ends in.
std::string Console::AsLine(std::string_view text) const {
  std::string line = platform::Printable(text, outside_);
  while (line.ends_with('\n')) line.pop_back();
  return line + "\n";
}

void Console::DrawBar(int percent, double seconds_left) {
  constexpr int kCountWidth = 18;
  constexpr int kNarrowest = 4;
  constexpr int kWidest = 40;
  const std::string label = fmt::format("{:<{}} ", label_, LabelWidth());
  const std::string behind = fmt::format(" {:3} %  {:.0f} s", percent, seconds_left);
  // In columns: a Japanese letter has two of them, and three bytes.
  const int room = platform::TerminalWidth() - 1 - (LabelWidth() + 1 + kCountWidth + 1) -
                   static_cast<int>(behind.size());
  const std::string before =
      room < 0 ? label : fmt::format("{}{:<{}} ", label, Count(), kCountWidth);
  const int width = std::clamp(room, 0, kWidest);
  const std::string bar = width < kNarrowest
                              ? ""
                              : fmt::format("{:#<{}}{:.<{}}", "", width * percent / 100, "",
                                            width - width * percent / 100);
  WriteTo(std::cerr, fmt::format("\r{}{}{}\x1B[K", before, bar, behind));
  bar_drawn_ = true;
}

void Console::ClearBar() {
  if (!bar_drawn_) return;
  WriteTo(std::cerr, "\r\x1B[K");
  bar_drawn_ = false;
}

}  // namespace fenwright::cli
