#pragma once

#include <memory>
#include <string>

#include "session.h"

namespace fenwright::cli {

/// The files that a verb works with.
struct CodeFiles {
  std::string Code;
  std::string Data;    ///< "" = the one that goes with the code file
  std::string Format;  ///< of the code file; told by its content unless given
  bool NoData = false;
  bool Force = false;  ///< take images that cannot be meant, with warnings
};

/// Adds their options to a verb.
std::shared_ptr<CodeFiles> AddCodeFiles(CLI::App& command);

/// The options among them that any verb with a code file can have.
void AddInputFormat(CLI::App& command, std::string& format);
void AddForceImage(CLI::App& command, bool& force);

/// The data file that goes with a code file, whether it is there or not. Where the file system
/// tells case, one whose name ends in capitals does as well.
std::string DataFileBeside(const std::string& code);

/// What became of loading them.
struct LoadedFiles {
  ExitCode Code = ExitCode::Success;
  /// For --json: what was found in the files, and how much of the device they fill; nothing for
  /// files that were not even read.
  nlohmann::json Fields = nlohmann::json::object();
};

/// Loads the files. One that may not be programmed is refused, with its cause and cure printed.
LoadedFiles LoadCodeFiles(Session& session, const CodeFiles& named);

}  // namespace fenwright::cli
