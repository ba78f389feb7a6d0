#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "core/device_catalogue.h"
#include "device_run.h"
#include "ops/commands.h"
#include "ops/trouble.h"
#include "safety_copy.h"
#include "socket.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// Success when the chip in the socket is the selected device.
ExitCode RequireSelectedChip(Session& session) {
  const SocketReading socket = ReadSocket(session);
  if (socket.Code != ExitCode::Success) return socket.Code;
  const int selected = session.Context().Screen.DeviceForm.DeviceIndex();
  if (std::ranges::find(socket.Devices, selected) != socket.Devices.end()) return socket.Code;
  const auto& found = core::DeviceCatalogue()[static_cast<std::size_t>(socket.Devices.front())];
  return session.Fail(ExitCode::Failed,
                      {.Code = ops::trouble::kWrongChip,
                       .Text = {fmt::format("ソケットのデバイスは {} です", found.ChipName),
                                fmt::format("the chip in the socket is an {}", found.ChipName)}});
}

Outcome Refuse(Session& session, ExitCode code) {
  session.Out().PrintError(session.In({"何も消去していません", "nothing was erased"}));
  return {.Code = code};
}

/// The erase goes on whatever the signature says: a protected chip gives none.
void WarnOfTheChip(Session& session) {
  const core::CommandRecord& done = session.State().Command;
  if (done.Failure == core::FailureKind::OtherChip) {
    session.Warn({.Code = ops::trouble::kWrongChip, .Text = OfEngine(done.SocketCause)});
  } else if (done.Failure == core::FailureKind::NoSignature) {
    session.Warn({.Code = ops::trouble::kNoSignature, .Text = OfEngine(done.LastFailure)});
  }
}

struct EraseOptions {
  bool Strict = false;
  std::shared_ptr<BackupOptions> Backup;
};

Outcome Erase(Session& session, const EraseOptions& options) {
  if (options.Strict) {
    const ExitCode code = RequireSelectedChip(session);
    if (code != ExitCode::Success) return Refuse(session, code);
  }
  const SafetyCopy copy = TakeSafetyCopy(session, *options.Backup);
  if (copy.Refusal) return *copy.Refusal;
  const DeviceRun run = RunOnDevice(session, ops::Cmd_btn_erase_Click);
  if (run.Code == ExitCode::Success) WarnOfTheChip(session);
  return TellDeviceRun(session, run, copy.Fields);
}

VerbRun BindErase(CLI::App& command) {
  const auto options = std::make_shared<EraseOptions>();
  command.add_flag("--strict", options->Strict,
                   "read the signature first, and erase the selected device alone");
  options->Backup = AddBackup(command);
  return [options](Session& session) { return Erase(session, *options); };
}

}  // namespace

const Verb kErase{.Name = "erase",
                  .Description = "erase the device",
                  .Needed = kDeviceOnPort,
                  .Bind = BindErase,
                  .SeveralBoards = true,
                  .Examples = {{{"--port COM5 --device AT90S8515 erase",
                                 "フラッシュ、EEPROM、ロックビットを消去します",
                                 "erase flash, EEPROM and lock bits"},
                                {"--port COM5 --device AT90S8515 erase --strict",
                                 "ソケットのチップが AT90S8515 のときだけ消去します",
                                 "the same, when the chip in the socket is an AT90S8515"},
                                {"--port COM5 --device AT90S8515 erase --backup copies",
                                 "先に内容を copies フォルダーにコピーします",
                                 "keep what it holds in the folder copies first"}}}};

}  // namespace fenwright::cli
