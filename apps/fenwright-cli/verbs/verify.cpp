#include <sstream>

#include "code_files.h"
#include "device_run.h"
#include "ops/commands.h"
#include "ops/verify_device.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// The report's lines about differences, as they stand in the file.
void PrintDifferences(Session& session) {
  std::string report;
  session.Context().Storage.Files.Read(
      session.State().AppFolder + std::string(ops::kVerifyReportFile), report);
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    const bool difference = line.starts_with("PROGRAM") || line.starts_with("EEPROM  ");
    if (difference) session.Out().PrintResult(line);
  }
}

VerbRun BindVerify(CLI::App& command) {
  return [files = AddCodeFiles(command)](Session& session) -> Outcome {
    const LoadedFiles loaded = LoadCodeFiles(session, *files);
    if (loaded.Code != ExitCode::Success) return {.Code = loaded.Code, .Json = loaded.Fields};
    const Outcome outcome =
        TellDeviceRun(session, RunOnDevice(session, ops::Cmd_btn_verify_Click), loaded.Fields);
    if (session.State().Command.VerifyFinished) PrintDifferences(session);
    return outcome;
  };
}

}  // namespace

const Verb kVerify{.Name = "verify",
                   .Description = "compare the device with files and print the differences",
                   .Needed = kDeviceOnPort,
                   .Bind = BindVerify};

}  // namespace fenwright::cli
