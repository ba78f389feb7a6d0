#include "code_files.h"
#include "device_run.h"
#include "ops/commands.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

VerbRun BindProgram(CLI::App& command) {
  return [files = AddCodeFiles(command)](Session& session) -> Outcome {
    const LoadedFiles loaded = LoadCodeFiles(session, *files);
    if (loaded.Code != ExitCode::Success) return {.Code = loaded.Code, .Json = loaded.Fields};
    return TellDeviceRun(session, RunOnDevice(session, ops::Cmd_btn_program_Click), loaded.Fields);
  };
}

}  // namespace

const Verb kProgram{.Name = "program",
                    .Description = "erase, program and verify the device",
                    .Needed = kDeviceOnPort,
                    .Bind = BindProgram};

}  // namespace fenwright::cli
