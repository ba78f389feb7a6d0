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

void TraceLog::AppendStartMarker() { Append("\r\n>>>>> START <<<<<"); }

void TraceLog::Delete() {
  context_.Storage.Files.Delete(context_.State.AppFolder + std::string(kTraceFileName));
}

void TraceLog::Append(std::string_view text) {
  const std::string path = context_.State.AppFolder + std::string(kTraceFileName);
  const std::string line = context_.Storage.CodePage.FromUtf8(text) + "\t" +
                           FormatDateTime(context_.Line.Clock.Now()) + "\r\n";
  const platform::FileResult result = context_.Storage.Files.Append(path, line);
  if (!result) EndCommandOnFileError(path, result);
}

}  // namespace fenwright::core
