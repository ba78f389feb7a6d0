#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "options.h"

namespace fenwright::cli {

/// Standard output and error of one call: lines, and one progress bar that keeps to the last line
/// of a terminal. Where the output is no terminal the bar becomes a plain line now and then.
class Console {
 public:
  /// With --quiet and --json there are no status texts and no progress.
  explicit Console(const Options& options);

  /// Has a text from outside, a file's name say, be recognised in all that is printed from now on:
  /// no line ends in it. The words of the command line are known already. Other control characters
  /// are shown as \x1b and the like wherever they stand.
  void NoteOutside(const std::string& text);

  /// A line on standard output; the same line twice in a row is printed once.
  void Print(std::string_view text);

  /// The result in words: --quiet does not silence it, --json does. FileError when it could not be
  /// written.
  ExitCode PrintResult(std::string_view text);

  /// A line on standard output, whatever the options; false when it could not be written.
  bool PrintAlways(std::string_view text);

  /// A line on standard error.
  void PrintError(std::string_view text);

  /// The first line that PrintError() was given, "" when there was none.
  [[nodiscard]] const std::string& FirstError() const { return first_error_; }

  /// Starts a bar for a loop of `maximum` steps.
  void StartProgress(int maximum);

  /// Shows that `value` steps are done: percent and the time that remains at the pace so far.
  void ShowProgress(int value);

  /// Takes the bar off the screen.
  void EndProgress();

 private:
  using Time = std::chrono::steady_clock::time_point;

  void DrawBar(int percent, double seconds_left);
  void ClearBar();
  [[nodiscard]] std::string AsLine(std::string_view text) const;

  std::vector<std::string> outside_;
  bool quiet_;
  bool json_;
  bool terminal_;
  std::string last_line_;
  std::string first_error_;
  int maximum_ = 0;
  int shown_percent_ = -1;
  bool bar_drawn_ = false;
  Time start_;
  Time last_shown_;
};

}  // namespace fenwright::cli
