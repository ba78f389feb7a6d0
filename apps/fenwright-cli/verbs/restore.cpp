#include <memory>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "fuse/fuse_bytes.h"
#include "fuse/lock_modes.h"
#include "fuse/reset_pin.h"
#include "ops/commands.h"
#include "ops/trouble.h"
#include "safety_copy.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

struct RestoreOptions {
  std::string Copy;
  bool NoFuses = false;  ///< neither fuse nor lock bits are written
  bool AllowResetDisable = false;
};

void SelectAll(Session& session, const FuseChoices& choices) {
  for (const auto& [list, index] : choices) session.Fuses().Select(list, index);
}

/// The first field of the copy that a write would not bring back: no item stands for its bits, or
/// the item has other ones. The lists show the copy's choices then.
std::optional<Problem> WhyNotRestorable(Session& session, const FuseChoices& wanted) {
  SelectAll(session, wanted);
  // A byte that is read under another name than it is written has nothing to be told here.
  const FuseChoices written = DecodeFuses(session, fuse::ComposeFuseBytes(session.Context()));
  for (const auto& [list, index] : wanted) {
    const auto found = written.find(list);
    if (index >= 0 && (found == written.end() || found->second == index)) continue;
    return Problem{
        .Code = problem::kUnknownItem,
        .Text = {fmt::format("{}: コピーにあるビットは書き込めません", fuse::FieldName(list)),
                 fmt::format("{}: the bits that the copy has cannot be written",
                             fuse::FieldName(list))},
        .Cure = {"--no-fuses を付けると、ヒューズビットとロックビットを書き込みません。",
                 "--no-fuses writes neither fuse nor lock bits"}};
  }
  return std::nullopt;
}

/// Checks what can be checked before the device is touched.
ExitCode CheckFuses(Session& session, const RestoreOptions& options, const FuseChoices& wanted) {
  if (const auto problem = WhyNotRestorable(session, wanted)) {
    return session.Fail(ExitCode::Failed, *problem);
  }
  if (!fuse::DisablesReset(session.Context()) || options.AllowResetDisable) {
    return ExitCode::Success;
  }
  return RefuseResetDisable(session, {"何も送っていません", "nothing was sent"}).Code;
}

/// Ends a call whose program run went well and whose later part did not.
Outcome EndLate(Session& session, const DeviceRun& run, nlohmann::json fields) {
  fields.erase("chip_state");
  if (session.HasError() && !session.Json()) return {.Code = run.Code};
  return TellDeviceRun(session, run, fields);
}

/// Reads the whole device and compares it with the copy: a verify looks at what a file fills alone.
DeviceRun CompareWhole(Session& session, const ChipReading& copy) {
  DeviceRun run = RunOnDevice(session, ops::Cmd_btn_read_Click);
  if (run.Code != ExitCode::Success) return run;
  const std::string difference = FirstMemoryDifference(copy, LastChipReading(session));
  if (difference.empty()) return run;
  run.Code = session.Fail(
      ExitCode::Failed, {.Code = ops::trouble::kDifferences,
                         .Text = {"デバイスの内容がコピーと一致しません: " + difference,
                                  "the device holds something else than the copy: " + difference}});
  return run;
}

/// Writes the bits as the lists show them, and looks at what the device made of it.
DeviceRun WriteAndReadBack(Session& session, nlohmann::json& fields) {
  const FuseBytes bytes = fuse::ComposeFuseBytes(session.Context());
  DeviceRun run = RunOnDevice(session, ops::cmdFuseWrite_Click);
  if (run.Code != ExitCode::Success) return run;
  fields["new_bytes"] = BytesAsJson(bytes);
  const ReadBack back = ReadBackFuses(session, bytes);
  fields["read_back"] = back.Field;
  if (back.Doubt) {
    run.Code = session.Fail(ExitCode::Failed, *back.Doubt);
  } else if (back.WhyNot.empty() || back.Run.Code != ExitCode::Success) {
    run = back.Run;
  }
  return run;
}

/// Brings the fuse bits back, and the lock bits when everything else is right.
DeviceRun RestoreFuses(Session& session, const FuseChoices& wanted, nlohmann::json& fields) {
  FuseChoices open = wanted;
  open[screen::FuseList::Lock] = fuse::kNotLocked;
  // Bits that are right already are not written: what says so has to be read twice.
  DeviceRun run = ReadFusesTwice(session);
  if (run.Code != ExitCode::Success) return run;
  fields["old_bytes"] = BytesAsJson(session.State().Command.FuseBytes);
  if (DecodeFuses(session, session.State().Command.FuseBytes) != open) {
    SelectAll(session, open);
    run = WriteAndReadBack(session, fields);
    if (run.Code != ExitCode::Success) return run;
  }
  if (wanted == open) return run;
  SelectAll(session, wanted);
  return WriteAndReadBack(session, fields);
}

Outcome Restore(Session& session, const RestoreOptions& options) {
  const LoadedCopy copy = LoadSafetyCopy(session, options.Copy);
  if (copy.Code != ExitCode::Success) return {.Code = copy.Code};
  const bool with_fuses = !options.NoFuses && !copy.Content.Fuses.empty();
  const FuseChoices wanted = DecodeFuses(session, copy.Content.Fuses);
  if (with_fuses) {
    const ExitCode code = CheckFuses(session, options, wanted);
    if (code != ExitCode::Success) return {.Code = code};
  }
  const DeviceRun programmed = RunOnDevice(session, ops::Cmd_btn_program_Click);
  const Outcome outcome =
      TellDeviceRun(session, programmed, {{"copy", options.Copy}, {"fuses_restored", false}});
  if (outcome.Code != ExitCode::Success) return outcome;
  nlohmann::json fields = outcome.Json;
  const DeviceRun compared = CompareWhole(session, copy.Content);
  if (compared.Code != ExitCode::Success) return EndLate(session, compared, fields);
  if (!with_fuses) {
    session.Out().Print(session.In(
        {"完了: コピーを戻しました。ヒューズビットは元のまま、ロックビットは消去した後の"
         "状態です",
         "ok: restored; the fuse bits are as they were, the lock bits those of an erased "
         "device"}));
    return {.Json = fields};
  }
  const DeviceRun fuses = RestoreFuses(session, wanted, fields);
  if (fuses.Code != ExitCode::Success) return EndLate(session, fuses, fields);
  fields["fuses_restored"] = true;
  session.Out().Print(session.In({"完了: コピーを、ヒューズとロックビットまで戻しました",
                                  "ok: restored, fuse and lock bits included"}));
  return {.Json = fields};
}

VerbRun BindRestore(CLI::App& command) {
  const auto options = std::make_shared<RestoreOptions>();
  command
      .add_option("COPY.json", options->Copy,
                  "description of a safety copy that --backup has taken")
      ->required();
  command.add_flag("--no-fuses", options->NoFuses, "write neither fuse nor lock bits");
  command.add_flag("--allow-reset-disable", options->AllowResetDisable,
                   "allow a choice after which the programmer can never reach the device again");
  return [options](Session& session) { return Restore(session, *options); };
}

}  // namespace

const Verb kRestore{
    .Name = "restore",
    .Description = "put a safety copy back: memories, then fuse and lock bits",
    .Needed = kDeviceOnPort,
    .Bind = BindRestore,
    .Examples = {
        {{"--port COM5 --device AT90S8515 restore copies/AT90S8515-1E9301-20260401-093000.json",
          "--backup が作ったコピーを戻します", "put back what --backup has kept"},
         {"--port COM5 --device ATtiny26L restore ATtiny26L-1E9109-20260401-093000.json --no-fuses",
          "メモリーだけを戻します", "put the memories back alone"}}}};

}  // namespace fenwright::cli
