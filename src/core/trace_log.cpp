#include "core/trace_log.h"

#include <cstdio>
#include <string>

#include "core/command_end.h"

namespace fenwright::core {

std::string FormatDateTime(const platform::DateTime& time) {
  char text[80];
  std::snprintf(text, sizeof text, "%04d/%02d/%02d %02d:%02d:%02d", time.Year, time.Month, time.Day,
                time.Hour, time.Minute, time.Second);
  return text;
}

void TraceLog::AppendMessage(std::string_view text) { Append(text); }

bool TraceLog::TryAppendMessage(std::string_view text) { return bool{TryAppend(text)}; }

void TraceLog::AppendStartMarker() { Append("\r\n>>>>> START <<<<<"); }

void TraceLog::Delete() { context_.Storage.Files.Delete(Path()); }

std::string TraceLog::Path() const {
  return context_.State.AppFolder + std::string(kTraceFileName);
}

platform::FileResult TraceLog::TryAppend(std::string_view text) {
  const std::string line = context_.Storage.CodePage.FromUtf8(text) + "\t" +
                           FormatDateTime(context_.Line.Clock.Now()) + "\r\n";
  return context_.Storage.Files.Append(Path(), line);
}

void TraceLog::Append(std::string_view text) {
  const platform::FileResult result = TryAppend(text);
  if (!result) EndCommandOnFileError(Path(), result);
}

}  // namespace fenwright::core
