#pragma once

#include <memory>
#include <string>

#include "session.h"

namespace fenwright::cli {

/// The files that a verb works with.
struct CodeFiles {
  std::string Code;
  std::string Data;  ///< "" = the one that goes with the code file
  bool NoData = false;
};

/// Adds their options to a verb.
std::shared_ptr<CodeFiles> AddCodeFiles(CLI::App& command);

/// Loads the files. One that may not be programmed is refused, with its cause printed.
ExitCode LoadCodeFiles(Session& session, const CodeFiles& files);

}  // namespace fenwright::cli
