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
    "  fenwright-cli --port COM5 --device AT90S8515 program blink.hex\n"
    "  fenwright-cli --simulate --device ATtiny12L program toggle.hex --no-data";

void AddGlobalOptions(CLI::App& app, Options& options) {
  app.add_option("--port", options.Port,
                 "port of the programmer: COM1 to COM20, COMn=PATH, or a device path")
      ->type_name("COMn|DEVICE-PATH")
      ->envname("FENWRIGHT_PORT");
  app.add_flag("--simulate", options.Simulate, "use the built-in simulated board, not a port");
  app.add_option("--simulate-chip", options.SimulateChip,
                 "chip in the simulated board's socket (default: the selected device)")
      ->type_name("NAME");
  app.add_option(
         "--simulate-fault", options.Faults,
         "what goes wrong on the simulated board; may be given again:\n" + board::FaultForms())
      ->type_name("SPEC");
  app.add_option("--device", options.Device,
                 "device in the socket: its name, or an unambiguous part of it")
      ->type_name("NAME");
  app.add_option("--folder", options.Folder, "folder of the trace, the dumps and the report")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_flag("--json", options.Json, "print the result as one JSON object, and nothing else");
  app.add_flag("--quiet", options.Quiet, "print errors only");
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

  CLI::App* const devices = app.add_subcommand("devices", "list the devices");
  CLI::App* const program = app.add_subcommand("program", "erase, program and verify the device");
  program->add_option("CODE.hex", options.CodeFile, "code file, Intel HEX (.hex or .rom)")
      ->required();
  CLI::Option* const data =
      program
          ->add_option("--data", options.DataFile,
                       "data file for the EEPROM (default: the code file's name with its last "
                       "three characters replaced by \"eep\", when there is such a file)")
          ->type_name("FILE.eep");
  program->add_flag("--no-data", options.NoData, "leave the EEPROM blank")->excludes(data);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    result.Ends = true;
    const bool good = error.get_exit_code() == 0;
    app.exit(error);
    result.EndCode = static_cast<int>(good ? ExitCode::Success : ExitCode::Usage);
    return result;
  }
  options.Chosen = *devices ? Options::Command::Devices : Options::Command::Program;
  return result;
}

}  // namespace fenwright::cli
