#include "code_files.h"
#include "device_run.h"
#include "ops/commands.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

VerbRun BindProgram(CLI::App& command) {
  return [files = AddCodeFiles(command)](Session& session) -> Outcome {
    const ExitCode code = LoadCodeFiles(session, *files);
    if (code != ExitCode::Success) return {.Code = code};
    return TellDeviceRun(session, RunOnDevice(session, ops::Cmd_btn_program_Click));
  };
}

}  // namespace

const Verb kProgram{.Name = "program",
                    .Description = "erase, program and verify the device",
                    .Needed = kDeviceOnPort,
                    .Bind = BindProgram};

}  // namespace fenwright::cli
