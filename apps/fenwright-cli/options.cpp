#include "options.h"

#include <map>

#include <fmt/format.h>

#include "board/faults.h"
#include "core/build_info.h"

namespace fenwright::cli {
const char* Name(ExitCode code) {
  static const std::map<ExitCode, const char*> kNames{{ExitCode::Success, "ok"},
                                                      {ExitCode::Usage, "usage"},
                                                      {ExitCode::NoProgrammer, "no-programmer"},
                                                      {ExitCode::FileError, "file-error"},
                                                      {ExitCode::Stopped, "stopped"}};
  const auto found = kNames.find(code);
  return found == kNames.end() ? "failed" : found->second;
}

const core::Sentence& Heading(ExitCode code) {
  static const std::map<ExitCode, core::Sentence> kHeadings{
      {ExitCode::Success, {"完了", "ok"}},
      {ExitCode::Failed, {"失敗", "failed"}},
      {ExitCode::Usage, {"使い方の誤り", "usage"}},
      {ExitCode::NoProgrammer, {"ライターなし", "no-programmer"}},
      {ExitCode::FileError, {"ファイルのエラー", "file-error"}},
      {ExitCode::Stopped, {"中断", "stopped"}}};
  return kHeadings.at(code);
}

void AddOptions(CLI::App& app, Options& options) {
  app.set_version_flag("--version", fmt::format("fenwright-cli {}", core::kVersion));
  app.add_option(
         "--port", options.Ports,
         "port of the programmer: COM1 to COM256, COMn=PATH, or a device path; given again, "
         "or \"all\", several boards work at once")
      ->type_name("COMn|DEVICE-PATH")
      ->allow_extra_args(false)
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
                 "device in the socket: its name, an unambiguous part of it, or \"auto\" for the "
                 "one that is found there")
      ->type_name("NAME");
  app.add_option("--folder", options.Folder,
                 "folder to keep the trace, the dumps and the report in; none is kept without it")
      ->type_name("DIR");
  app.add_flag("--json", options.Json, "print the result as one JSON object, and nothing else");
  CLI::Option* const quiet = app.add_flag("--quiet", options.Quiet, "print errors only");
  app.add_flag("--verbose", options.Verbose, "print every status text, as the trace has them")
      ->excludes(quiet);
}

}  // namespace fenwright::cli
