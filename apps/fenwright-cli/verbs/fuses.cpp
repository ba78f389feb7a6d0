#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "fuse/fuse_bytes.h"
#include "fuse/fuse_model.h"
#include "verbs.h"
#include "write_fuses.h"

namespace fenwright::cli {
namespace {

using screen::FuseList;

void PrintFields(Session& session) {
  for (const FuseList list : ListsOf(session)) {
    const int index = session.Fuses().SelectedIndex(list);
    const std::string item =
        index < 0
            ? session.In({"このビットに当たる値はありません", "no item stands for these bits"})
            : fmt::format("{}  ({})", ItemText(session, list, index), index);
    session.Out().PrintResult(fmt::format("{:<10} {}", fuse::FieldName(list), item));
  }
  session.Out().PrintResult("bytes      " +
                            fuse::DescribeFuseBytes(session.State().Command.FuseBytes));
  const std::vector<std::uint8_t> calibration = CalibrationOf(session);
  if (calibration.empty()) return;
  session.Out().PrintResult(fmt::format("calib      0x{:02X}", fmt::join(calibration, " 0x")));
}

Outcome ReadFuses(Session& session) {
  if (!LayoutOf(session).ReadEnabled) {
    return {
        .Code = session.Fail(
            ExitCode::Usage,
            {.Code = problem::kFusesUnreadable,
             .Text = {
                 fmt::format("{} のヒューズとロックビットは読み出せません", session.Device()),
                 fmt::format("the fuse and lock bits of {} cannot be read", session.Device())}})};
  }
  // Bits that no item stands for leave the list as it is; its default must not pass for them.
  session.Fuses().Select(FuseList::Lock, -1);
  const DeviceRun run = ReadFusesTwice(session);
  if (run.Code != ExitCode::Success) return TellFuseRun(session, run);
  PrintFields(session);
  return TellDeviceRun(session, run,
                       {{"fields", FieldsAsJson(session)},
                        {"bytes", BytesAsJson(session.State().Command.FuseBytes)},
                        {"calibration", CalibrationOf(session)}});
}

VerbRun BindWrite(CLI::App& command) {
  const auto options = std::make_shared<FuseOrder>();
  command
      .add_option("fields", options->Fields,
                  "a field as read-fuses names it, and an item of its list, by its text or its "
                  "position from 0; LOCK also takes write-verify (0), write (1) or none (2)")
      ->type_name("FIELD=ITEM");
  command.add_flag("--from-defaults", options->FromDefaults,
                   "fields that are not named get their defaults");
  command.add_flag("--dry-run", options->DryRun, "show what would be written and write nothing");
  command.add_flag("--allow-reset-disable", options->AllowResetDisable,
                   "allow a choice after which the programmer can never reach the device again");
  return [options, backup = AddBackup(command)](Session& session) {
    FuseOrder order = *options;
    order.Backup = *backup;
    return WriteFuses(session, order);
  };
}

}  // namespace

const Verb kReadFuses{
    .Name = "read-fuses",
    .Description = "read the device's fuse and lock bits and calibration bytes",
    .Needed = kDeviceOnPort,
    .Bind = [](CLI::App&) -> VerbRun { return ReadFuses; },
    .Examples = {{{"--port COM5 --device ATtiny26L read-fuses", "項目とその値、バイトを出します",
                   "print every field with its item, and the bytes"}}}};

const Verb kWriteFuses{
    .Name = "write-fuses",
    .Description =
        "write fuse and lock bits; fields that are not named keep what the device has, "
        "or their defaults where it cannot be read",
    .Needed = kDeviceOnPort,
    .Bind = BindWrite,
    .Examples = {
        {{"--port COM5 --device ATtiny26L write-fuses CKSEL=0100 BODEN=Enable --dry-run",
          "送るバイトを見るだけで、何も書きません", "see the bytes and write nothing"},
         {"--port COM5 --device ATtiny26L write-fuses CKSEL=0100 BODEN=Enable",
          "二つの項目を変え、ほかはそのままにします", "change two fields and keep the others"},
         {"--port COM5 --device AT90S8515 write-fuses LOCK=write-verify", "デバイスをロックします",
          "lock the device"}}}};

}  // namespace fenwright::cli
