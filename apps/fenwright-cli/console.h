#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "options.h"

namespace fenwright::cli {

/// Takes what a console prints in the place of standard output and error: of one board of several.
class LineSink {
 public:
  LineSink() = default;
  virtual ~LineSink() = default;
  LineSink(const LineSink&) = delete;
  LineSink& operator=(const LineSink&) = delete;

  /// Lines of the result, and of errors and warnings; each ends in LF. False when a line could not
  /// be written.
  virtual bool Output(std::string_view lines) = 0;
  virtual void Error(std::string_view lines) = 0;
  /// How far the running part of the work has come.
  virtual void Progress(std::string_view label, int percent) = 0;
};

/// Standard output and error of one call. Results go to output; errors, warnings and what goes on
/// meanwhile to error. On a terminal a phase has a bar that keeps to the last line; elsewhere it
/// has one plain line at its end.
class Console {
 public:
  explicit Console(const Options& options);

  /// Has a text from outside, a file's name say, be recognised in all that is printed from now on:
  /// no line ends in it. The words of the command line are known already. Other control characters
  /// are shown as \x1b and the like wherever they stand.
  void NoteOutside(const std::string& text);

  /// A line of the result that --quiet and --json silence.
  void Print(std::string_view text);

  /// A line of the result that --json alone silences. FileError when it could not be written.
  ExitCode PrintResult(std::string_view text);

  /// The same for a line of a comparison, red or green on a terminal that shows colours.
  enum class Side { Expected, Found };
  ExitCode PrintResult(std::string_view text, Side side);

  /// From now on standard output is for the result alone: what Print() prints goes to standard
  /// error.
  void KeepOutputForResult() { output_for_result_ = true; }

  /// A line on standard output, whatever the options; false when it could not be written.
  bool PrintAlways(std::string_view text);

  /// A line on standard error.
  void PrintError(std::string_view text);

  /// A line about what goes on, which --quiet and --json silence.
  void PrintProgress(std::string_view text);

  /// A status text of the engine, for --verbose; the same text twice in a row is printed once.
  void PrintStatus(std::string_view text);

  /// False when a line of the result could not be written.
  [[nodiscard]] bool ResultWritten() const { return result_written_; }

  /// How a part of the work went.
  enum class PhaseEnd { Done, Failed };

  /// A part of the work begins: "flash", in `unit` steps. The same one twice in a row is one. The
  /// one before it, if there is one, has ended like `before`.
  void StartPhase(std::string_view label, std::string_view unit, PhaseEnd before);

  /// Its bar has that many steps.
  void StartProgress(int maximum);

  /// Shows that `value` steps are done: percent and the time that remains at the pace so far.
  void ShowProgress(int value);

  /// The phase, if there is one, is over: says how it went and how long it took.
  void EndProgress(PhaseEnd end);

 private:
  using Time = std::chrono::steady_clock::time_point;

  [[nodiscard]] std::string Count() const;
  [[nodiscard]] int LabelWidth() const;
  bool WriteOutput(std::string_view text);
  void DrawBar(int percent, double seconds_left);
  void ClearBar();
  [[nodiscard]] std::string AsLine(std::string_view text) const;

  std::vector<std::string> outside_;
  core::Language language_;
  bool quiet_;
  bool json_;
  bool verbose_;
  bool terminal_;
  bool colours_;
  bool output_for_result_ = false;
  bool result_written_ = true;
  LineSink* sink_;
  std::string last_status_;
  std::string label_;
  std::string unit_;
  int maximum_ = 0;
  int value_ = 0;
  int shown_percent_ = -1;
  bool bar_drawn_ = false;
  Time phase_start_;
  Time start_;
};

}  // namespace fenwright::cli
