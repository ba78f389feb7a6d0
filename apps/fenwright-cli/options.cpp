#include "options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "board/faults.h"
#include "core/build_info.h"

namespace fenwright::cli {
namespace {

constexpr const char* kFooter =
    "Exit codes: 0 success, 1 the operation failed (a failed verify included), 2 usage,\n"
    "3 no programmer or port, 4 file unreadable or unwritable, 130 stopped by Ctrl-C.\n"
    "\n"
    "Examples:\n"
    "  fenwright-cli devices\n"
    "  fenwright-cli ports\n"
    "  fenwright-cli --port COM5 --device AT90S8515 program blink.hex\n"
    "  fenwright-cli --simulate --device ATtiny12L program toggle.hex --no-data\n"
    "  fenwright-cli --port COM5 --device AT90S8515 read --code out.hex --data out.eep\n"
    "  fenwright-cli --port COM5 --device ATtiny26L write-fuses CKSEL=0100 BODEN=Enable";

void AddGlobalOptions(CLI::App& app, Options& options) {
  app.add_option("--port", options.Port,
                 "port of the programmer: COM1 to COM20, COMn=PATH, or a device path")
      ->type_name("COMn|DEVICE-PATH")
      ->envname("FENWRIGHT_PORT");
  CLI::Option* const simulate = app.add_flag("--simulate", options.Simulate,
                                             "use the built-in simulated board, whatever the port");
  app.add_option("--simulate-chip", options.SimulateChip,
                 "chip in the simulated board's socket (default: the selected device)")
      ->type_name("NAME")
      ->needs(simulate);
  app.add_option(
         "--simulate-fault", options.Faults,
         "what goes wrong on the simulated board; may be given again:\n" + board::FaultForms())
      ->type_name("SPEC")
      ->needs(simulate);
  app.add_option("--device", options.Device,
                 "device in the socket: its name, or an unambiguous part of it")
      ->type_name("NAME");
  app.add_option("--folder", options.Folder, "folder of the trace, the dumps and the report")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_flag("--json", options.Json, "print the result as one JSON object, and nothing else");
  app.add_flag("--quiet", options.Quiet, "print errors only");
}

void AddFiles(CLI::App& command, Options& options) {
  command.add_option("CODE.hex", options.CodeFile, "code file, Intel HEX (.hex or .rom)")
      ->required();
  CLI::Option* const data =
      command
          .add_option("--data", options.DataFile,
                      "data file for the EEPROM (default: the code file's name with its last "
                      "three characters replaced by \"eep\", when there is such a file)")
          ->type_name("FILE.eep");
  command.add_flag("--no-data", options.NoData, "treat the EEPROM image as blank")->excludes(data);
}

/// A subcommand that makes `chosen` the command of the call.
CLI::App& AddCommand(CLI::App& app, Options& options, Options::Command chosen, const char* name,
                     const char* description) {
  CLI::App& command = *app.add_subcommand(name, description);
  command.callback([&options, chosen] { options.Chosen = chosen; });
  return command;
}

void AddCommands(CLI::App& app, Options& options) {
  using Command = Options::Command;
  AddCommand(app, options, Command::Devices, "devices", "list the devices");
  AddFiles(
      AddCommand(app, options, Command::Program, "program", "erase, program and verify the device"),
      options);
  CLI::App& read =
      AddCommand(app, options, Command::Read, "read", "read the device's memories and save them");
  read.add_option("--code", options.CodeOutput, "file to save the flash to, Intel HEX")
      ->type_name("OUT.hex");
  read.add_option("--data", options.DataOutput, "file to save the EEPROM to, Intel HEX")
      ->type_name("OUT.eep");
  read.add_flag("--force", options.Force, "overwrite files that exist");
  AddFiles(AddCommand(app, options, Command::Verify, "verify",
                      "compare the device with files and print the differences"),
           options);
  AddCommand(app, options, Command::Erase, "erase", "erase the device");
  AddCommand(app, options, Command::ReadFuses, "read-fuses",
             "read the device's fuse and lock bits and calibration bytes");
  CLI::App& fuses = AddCommand(app, options, Command::WriteFuses, "write-fuses",
                               "write fuse and lock bits; fields that are not named keep what the "
                               "device has, or their defaults where it cannot be read");
  fuses
      .add_option("fields", options.Fields,
                  "a field as read-fuses names it, and an item of its list, by its text or its "
                  "position from 0; LOCK also takes write-verify (0), write (1) or none (2)")
      ->type_name("FIELD=ITEM");
  fuses.add_flag("--from-defaults", options.FromDefaults,
                 "fields that are not named get their defaults");
  fuses.add_flag("--dry-run", options.DryRun, "show what would be written and write nothing");
  fuses.add_flag("--allow-reset-disable", options.AllowResetDisable,
                 "allow a choice after which the programmer can never reach the device again");
  AddFiles(AddCommand(app, options, Command::Dump, "dump",
                      "print the flash dump of a code file; needs no programmer"),
           options);
  AddCommand(app, options, Command::Ports, "ports",
             "list COM1 to COM20: device, adapter, and whether it can be used");
  AddCommand(app, options, Command::Detect, "detect",
             "look for the programmer and offer it the device");
  AddCommand(
      app, options, Command::CheckLink, "check-link",
      "measure how long the programmer takes to answer, and what that means for programming");
  AddCommand(app, options, Command::BoardVersion, "board-version",
             "print the version of the board's own firmware");
  CLI::App& update = AddCommand(app, options, Command::UpdateFirmware, "update-firmware",
                                "replace the board's own firmware");
  update.add_option("FILE.hex", options.CodeFile, "firmware file, Intel HEX")->required();
  update.add_flag("--yes", options.Yes, "do not ask");
  update.add_flag("--dry-run", options.DryRun, "check the file and say what would be sent");
}

}  // namespace

ParseResult ParseOptions(int argc, char** argv) {
  ParseResult result;
  Options& options = result.Values;
  CLI::App app("Programs AT90S and ATtiny microcontrollers on a programmer board.",
               "fenwright-cli");
  app.footer(kFooter);
  app.set_version_flag("--version", fmt::format("fenwright-cli {}", core::kVersion));
  app.require_subcommand(1);
  app.fallthrough();
  AddGlobalOptions(app, options);

  AddCommands(app, options);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    result.Ends = true;
    const bool good = error.get_exit_code() == 0;
    app.exit(error);
    result.EndCode = static_cast<int>(good ? ExitCode::Success : ExitCode::Usage);
    return result;
  }
  return result;
}

}  // namespace fenwright::cli
