#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "core/sentence.h"

namespace fenwright::cli {

/// Exit codes of the program.
enum class ExitCode {
  Success = 0,
  Failed = 1,        ///< the operation failed; a verify with differences included
  Usage = 2,         ///< the command line makes no sense
  NoProgrammer = 3,  ///< no port, no programmer on it, or one that cannot be used
  FileError = 4,     ///< a file cannot be read or written
  Stopped = 130,     ///< stopped by Ctrl-C
};

/// The stable word of an exit code, "ok".
const char* Name(ExitCode code);

/// The same for people.
const core::Sentence& Heading(ExitCode code);

class LineSink;

/// The options that every verb takes.
struct Options {
  std::vector<std::string> Words;   ///< the whole command line, for what is printed of it
  std::vector<std::string> Ports;   ///< as the call has them: several boards, or kAllPorts
  std::string Port;                 ///< "COMn", "COMn=PATH" or a device path, "" = none
  bool Simulate = false;            ///< the built-in simulated board instead of a port
  std::string SimulateChip;         ///< chip in its socket, "" = the selected device
  std::vector<std::string> Faults;  ///< what goes wrong on it
  std::string Device;               ///< name, or part of the name, of the device
  std::string Folder;               ///< "" = trace, dumps and report are not kept
  bool Json = false;
  bool Quiet = false;
  bool Verbose = false;                               ///< status texts are printed too
  core::Language Language = core::Language::English;  ///< of every text
  LineSink* Lines = nullptr;    ///< gets what is printed; null: standard output and error
  bool SimulateAtOnce = false;  ///< the simulated line takes no time
};

/// As a port: every one that can be opened.
inline constexpr std::string_view kAllPorts = "all";

/// Adds them to the command line.
void AddOptions(CLI::App& app, Options& options);

}  // namespace fenwright::cli
