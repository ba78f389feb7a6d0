#pragma once

#include <string>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::core {

inline constexpr std::string_view kTraceFileName = "_debug_avr.txt";

/// The plain-text history of one run: every status and message text with the time at which it
/// appeared. CP932, CR LF. Each append opens, writes and closes the file, so the log survives a
/// crash up to its last line and can be read while the program runs.
///
/// An append that the disc refuses ends the running command (see core/command_end.h).
class TraceLog {
 public:
  explicit TraceLog(RunContext& context) : context_(context) {}

  /// One message line: the text, a TAB, the local date and time. A text with CR LF inside spans
  /// several physical lines; the time follows the last.
  void AppendMessage(std::string_view text);

  /// The same where the line is not worth ending the command for; false when it was refused.
  bool TryAppendMessage(std::string_view text);

  /// An empty line, then ">>>>> START <<<<<", a TAB and the time, as one unit.
  void AppendStartMarker();

  /// Deletes the file, ignoring errors. At start-up the program's folder is not known yet, so the
  /// bare name is deleted, in the working directory. That is deliberate: a program started from
  /// its own folder begins a new trace, one started from elsewhere goes on with the old one.
  void Delete();

 private:
  [[nodiscard]] std::string Path() const;
  platform::FileResult TryAppend(std::string_view text);
  void Append(std::string_view text);

  RunContext& context_;
};

/// Local date and time as in the trace, for example "2005/03/14 12:34:56".
std::string FormatDateTime(const platform::DateTime& time);

}  // namespace fenwright::core
