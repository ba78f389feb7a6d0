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

const Verb kProgram{
    .Name = "program",
    .Description = "erase, program and verify the device",
    .Needed = kDeviceOnPort,
    .Bind = BindProgram,
    .Examples = {{{"--port COM5 --device AT90S8515 program blink.hex",
                   "消去、書き込み、ベリファイをします。blink.eep があればEEPROMにも書きます",
                   "erase, write and verify, the EEPROM too where there is a blink.eep"},
                  {"--port COM5 --device AT90S8515 program counter.hex --data texts.eep",
                   "データファイルを指定します", "name the data file"},
                  {"--port COM5 --device auto program blink.hex",
                   "ソケットにあるチップに書き込みます", "program whichever chip is in the socket"},
                  {"--simulate --device ATtiny12L program toggle.hex --no-data",
                   "ボードなしで試します", "try it without a board"}}}};

}  // namespace fenwright::cli
