#include "code_files.h"
#include "device_run.h"
#include "ops/commands.h"
#include "ops/verify_device.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

void PrintDifferences(Session& session) {
  for (const core::Difference& difference : session.State().Command.Differences) {
    session.Out().PrintResult(ops::DescribeDifference(difference));
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

const Verb kVerify{
    .Name = "verify",
    .Description = "compare the device with files and print the differences",
    .Needed = kDeviceOnPort,
    .Bind = BindVerify,
    .Examples = {{{"--port COM5 --device AT90S8515 verify blink.hex",
                   "デバイスをファイルと比べます", "compare the device with the files"},
                  {"--port COM5 --device AT90S8515 verify blink.hex --no-data",
                   "EEPROMは空のはずとして比べます", "the EEPROM has to be blank"}}}};

}  // namespace fenwright::cli
