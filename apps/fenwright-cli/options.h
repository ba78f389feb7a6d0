#pragma once

#include <string>
#include <vector>

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

/// What the command line says.
struct Options {
  enum class Command {
    Devices,
    Program,
    Read,
    Verify,
    Erase,
    ReadFuses,
    WriteFuses,
    Dump,
    Ports,
    Detect,
    CheckLink,
    BoardVersion,
    UpdateFirmware
  };
  Command Chosen = Command::Devices;

  std::string Port;                 ///< "COMn", "COMn=PATH" or a device path, "" = none
  bool Simulate = false;            ///< the built-in simulated board instead of a port
  std::string SimulateChip;         ///< chip in its socket, "" = the selected device
  std::vector<std::string> Faults;  ///< what goes wrong on it
  std::string Device;               ///< name, or part of the name, of the device
  std::string Folder = ".";
  bool Json = false;
  bool Quiet = false;

  std::string CodeFile;
  std::string DataFile;  ///< "" = the one that goes with the code file
  bool NoData = false;

  std::string CodeOutput;  ///< file that a read saves the flash to, "" = none
  std::string DataOutput;  ///< file that a read saves the EEPROM to, "" = none
  bool Force = false;      ///< a read may overwrite files

  std::vector<std::string> Fields;  ///< "FIELD=ITEM" of a fuse write
  bool FromDefaults = false;        ///< the other fields get their defaults, not the chip's
  bool AllowResetDisable = false;   ///< the reset pin may be given away

  bool Yes = false;     ///< a firmware update is not asked about
  bool DryRun = false;  ///< a fuse write or a firmware update ends before anything is written
};

/// The arguments of a call, parsed; or the exit code of a call that ends here: help, version, or a
/// usage error, each printed.
struct ParseResult {
  Options Values;
  bool Ends = false;
  int EndCode = 0;
};
ParseResult ParseOptions(int argc, char** argv);

}  // namespace fenwright::cli
