#pragma once

#include <string>
#include <string_view>

#include "platform/text_files.h"

namespace fenwright::core {

/// How a command ended.
enum class CommandEnding {
  Finished,         ///< it ran to its end; the state says with what result
  Refused,          ///< another command is running; nothing was done
  Stopped,          ///< a stop was requested (program closed, Ctrl-C)
  FileError,        ///< a file of the program itself could not be written
  BadSetting,       ///< a stored setting makes no sense
  AnotherInstance,  ///< the program is running already; nothing was done
};

/// Thrown to end the running command where it stands. ops::RunCommand() is where that ends.
///
/// Operations report through the error flag and run to their end whatever happens on the line. The
/// two things that end them earlier, a requested stop and a trace or report that the disc refuses,
/// would otherwise need a test after every single step.
struct CommandEnd {
  CommandEnding Ending = CommandEnding::Stopped;
  std::string Text;  ///< for the user: cause and cure; empty for a stop
};

/// Ends the running command because `path` could not be written.
[[noreturn]] void EndCommandOnFileError(std::string_view path, const platform::FileResult& result);

}  // namespace fenwright::core
