#include "console.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <utility>

#include <fmt/format.h>

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

}  // namespace

Console::Console(const Options& options)
    : outside_(platform::OutsideOf(options.Words)),
      quiet_(options.Quiet || options.Json),
      json_(options.Json),
      terminal_(platform::OutputIsTerminal()) {
  NoteOutside(options.Port);
}

void Console::NoteOutside(const std::string& text) {
  for (std::string& part : platform::OutsideOf(std::array{text})) {
    outside_.push_back(std::move(part));
  }
}

void Console::Print(std::string_view text) {
  if (quiet_ || text == last_line_) return;
  last_line_ = text;
  PrintAlways(text);
}

ExitCode Console::PrintResult(std::string_view text) {
  return json_ || PrintAlways(text) ? ExitCode::Success : ExitCode::FileError;
}

bool Console::PrintAlways(std::string_view text) {
  ClearBar();
  return WriteTo(std::cout, AsLine(text));
}

void Console::PrintError(std::string_view text) {
  ClearBar();
  if (first_error_.empty()) first_error_ = text;
  WriteTo(std::cerr, AsLine(text));
}

void Console::StartProgress(int maximum) {
  maximum_ = maximum;
  shown_percent_ = -1;
  start_ = std::chrono::steady_clock::now();
  last_shown_ = start_;
}

void Console::ShowProgress(int value) {
  if (quiet_ || maximum_ <= 0) return;
  constexpr int kAll = 100;
  const int percent = std::min(kAll, static_cast<int>(std::int64_t{kAll} * value / maximum_));
  if (percent == shown_percent_) return;
  const Time now = std::chrono::steady_clock::now();
  const double elapsed = std::chrono::duration<double>(now - start_).count();
  const double left = value > 0 ? elapsed * (maximum_ - value) / value : 0;
  if (terminal_) {
    shown_percent_ = percent;
    DrawBar(percent, left);
    return;
  }
  constexpr std::chrono::seconds kBetweenPlainLines{1};
  if (now - last_shown_ < kBetweenPlainLines) return;
  shown_percent_ = percent;
  last_shown_ = now;
  PrintAlways(fmt::format("{:3} %, {:.0f} s left", percent, left));
}

void Console::EndProgress() {
  ClearBar();
  maximum_ = 0;
}

/// One line for the terminal, with one LF at its end, whatever the text ends in.
std::string Console::AsLine(std::string_view text) const {
  std::string line = platform::Printable(text, outside_);
  while (line.ends_with('\n')) line.pop_back();
  return line + "\n";
}

void Console::DrawBar(int percent, double seconds_left) {
  constexpr int kWidth = 40;
  const int filled = kWidth * percent / 100;
  WriteTo(std::cout, fmt::format("\r[{:#<{}}{:.<{}}] {:3} %  {:.0f} s left \x1B[K", "", filled, "",
                                 kWidth - filled, percent, seconds_left));
  bar_drawn_ = true;
}

void Console::ClearBar() {
  if (!bar_drawn_) return;
  WriteTo(std::cout, "\r\x1B[K");
  bar_drawn_ = false;
}

}  // namespace fenwright::cli
