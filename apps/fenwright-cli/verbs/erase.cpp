#include "device_run.h"
#include "ops/commands.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

Outcome Erase(Session& session) {
  return TellDeviceRun(session, RunOnDevice(session, ops::Cmd_btn_erase_Click));
}

}  // namespace

const Verb kErase{.Name = "erase",
                  .Description = "erase the device",
                  .Needed = kDeviceOnPort,
                  .Bind = [](CLI::App&) -> VerbRun { return Erase; },
                  .Examples = {{{"--port COM5 --device AT90S8515 erase",
                                 "フラッシュ、EEPROM、ロックビットを消去します",
                                 "erase flash, EEPROM and lock bits"}}}};

}  // namespace fenwright::cli
