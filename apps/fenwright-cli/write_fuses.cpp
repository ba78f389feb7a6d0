#include "write_fuses.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "explanations.h"
#include "fuse/fuse_bytes.h"
#include "fuse/fuse_items.h"
#include "fuse/fuse_layout.h"
#include "fuse/fuse_model.h"
#include "fuse/lock_modes.h"
#include "fuse/reset_pin.h"
#include "ops/commands.h"
#include "suggest.h"
#include "text.h"

namespace fenwright::cli {
namespace {

using screen::FuseList;
using Choices = FuseChoices;

std::vector<std::string> FieldNames(Session& session) {
  std::vector<std::string> names;
  for (const FuseList list : ListsOf(session)) names.emplace_back(fuse::FieldName(list));
  return names;
}

std::string ListFieldNames(Session& session) {
  return fmt::format("{}", fmt::join(FieldNames(session), " "));
}

/// What a list shows.
std::string ShownText(Session& session, FuseList list) {
  return ItemText(session, list, session.Fuses().SelectedIndex(list));
}

std::string ListItems(Session& session, FuseList list) {
  std::string items;
  for (int index = 0; std::cmp_less(index, session.Fuses().Items(list).size()); ++index) {
    items += fmt::format("\n  {}  {}", index, ItemText(session, list, index));
  }
  return items;
}

std::optional<FuseList> FindField(Session& session, std::string_view name) {
  for (const FuseList list : ListsOf(session)) {
    if (LowerCase(fuse::FieldName(list)) == LowerCase(name)) return list;
  }
  return std::nullopt;
}

/// Reads one FIELD=ITEM into the choices; what is wrong with it, if anything is.
std::optional<Problem> ReadChoice(Session& session, const std::string& text, Choices& choices) {
  const auto problem = [&text](std::string_view code, const std::string& japanese,
                               const std::string& english) {
    return Problem{.Code = code, .Text = {text + ": " + japanese, text + ": " + english}};
  };
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) {
    return problem(problem::kUsage, "FIELD=ITEM の形で書きます", "write it as FIELD=ITEM");
  }
  const std::string name = text.substr(0, equals);
  const std::string item = text.substr(equals + 1);
  const std::optional<FuseList> list = FindField(session, name);
  if (!list) {
    const std::string names = ListFieldNames(session);
    const std::string meant = ClosestWord(name, FieldNames(session));
    return problem(problem::kUnknownField,
                   fmt::format("{} にその項目はありません{}。項目は {}", session.Device(),
                               meant.empty() ? "" : " (" + meant + " のことですか)", names),
                   fmt::format("{} has no such field{}; its fields are {}", session.Device(),
                               meant.empty() ? "" : ", did you mean " + meant + "?", names));
  }
  const std::optional<int> index = fuse::FindItem(*list, session.Device(), item);
  if (!index) {
    const std::string items = ListItems(session, *list);
    const std::string meant = ClosestWord(item, session.Fuses().Items(*list));
    return problem(
        problem::kUnknownItem,
        fmt::format("{} にその値はありません{}。値は次のとおりです{}", fuse::FieldName(*list),
                    meant.empty() ? "" : " (" + meant + " のことですか)", items),
        fmt::format("{} has no such item{}; its items are{}", fuse::FieldName(*list),
                    meant.empty() ? "" : ", did you mean " + meant + "?", items));
  }
  if (!choices.emplace(*list, *index).second) {
    return problem(problem::kUsage, fmt::format("{} が二度あります", fuse::FieldName(*list)),
                   fmt::format("{} is given twice", fuse::FieldName(*list)));
  }
  return std::nullopt;
}

ExitCode ReadChoices(Session& session, const FuseOrder& order, Choices& choices) {
  for (const std::string& text : order.Fields) {
    const auto problem = ReadChoice(session, text, choices);
    if (problem) return session.Fail(ExitCode::Usage, *problem);
  }
  if (!choices.empty() || order.FromDefaults) return ExitCode::Success;
  const std::string names = ListFieldNames(session);
  return session.Fail(
      ExitCode::Usage,
      {.Code = problem::kUsage,
       .Text = {fmt::format("書くものを FIELD=ITEM で指定するか、--from-defaults を付けます。{} の"
                            "項目は {}",
                            session.Device(), names),
                fmt::format("name what to write as FIELD=ITEM, or --from-defaults; the fields of "
                            "{} are {}",
                            session.Device(), names)}});
}

bool GivesResetAway(const Choices& choices) {
  const auto reset = choices.find(FuseList::Rstdisabl);
  return reset != choices.end() && reset->second == 0;
}

bool Locks(const Choices& choices) {
  const auto lock = choices.find(FuseList::Lock);
  return lock != choices.end() && lock->second != fuse::kNotLocked;
}

/// True when one of the fields of an order is such a choice.
template <typename Is>
bool AnyChoice(Session& session, const FuseOrder& order, Is is) {
  return std::ranges::any_of(order.Fields, [&](const std::string& field) {
    Choices choices;
    return !ReadChoice(session, field, choices) && is(choices);
  });
}

/// The choices of an order that may be carried out.
ExitCode ReadOrder(Session& session, const FuseOrder& order, Choices& choices) {
  const ExitCode code = ReadChoices(session, order, choices);
  if (code != ExitCode::Success) return code;
  if (!GivesResetAway(choices)) return ExitCode::Success;
  if (!order.AllowResetDisable) {
    return RefuseResetDisable(session, {"何も送っていません", "nothing was sent"}).Code;
  }
  if (!Locks(choices)) return ExitCode::Success;
  // The board acknowledges the lock bits all the same, and the chip stays open.
  return session.Fail(
      ExitCode::Usage,
      {.Code = problem::kResetPin,
       .Text = {"リセット端子を無効にした後では、ロックビットは書けません。何も送っていません",
                "once the reset pin is given away the lock bits cannot be written; nothing was "
                "sent"},
       .Cure = {"リセット端子の無効かロックビットの、どちらか一方にします。",
                "give the reset pin away or lock the device, not both"}});
}

/// What a write-fuses call is about to write, over what.
struct Plan {
  FuseBytes OldBytes;  ///< as read from the device, empty when it cannot be read
  FuseBytes NewBytes;
  std::vector<std::string> Changes;  ///< "CKSEL: 0010 -> 0100"
  std::vector<std::string> Notes;    ///< what else comes of it: "CKSEL: 00 is written as 10"
};

/// What is chosen in each list, as text.
std::map<FuseList, std::string> ChosenTexts(Session& session) {
  std::map<FuseList, std::string> texts;
  for (const FuseList list : ListsOf(session)) texts[list] = ShownText(session, list);
  return texts;
}

/// The lists that would show something else once the bytes are written and read back: not every
/// item has bits of its own.
std::vector<std::string> DescribeOtherBits(Session& session, const FuseBytes& bytes) {
  std::vector<std::string> notes;
  const ChosenFuses& lists = session.Fuses();
  for (const fuse::ReadStep& step : LayoutOf(session).ReadSteps) {
    const auto byte = std::ranges::find(bytes, step.Caption, &core::FuseTransfer::Name);
    if (byte == bytes.end()) continue;
    for (const fuse::DecodedField& field : step.Fields) {
      const int index = fuse::DecodeIndex(field, byte->Value);
      if (index == fuse::kLeaveAsItIs || index == lists.SelectedIndex(field.List)) continue;
      notes.push_back(fmt::format(
          fmt::runtime(session.In({"{}: {} は {} として書かれます", "{}: {} is written as {}"})),
          fuse::FieldName(field.List), ShownText(session, field.List),
          ItemText(session, field.List, index)));
    }
  }
  return notes;
}

/// True when the lists show a lock mode that prohibits writing.
bool ShowsLock(Session& session) {
  return session.Fuses().SelectedIndex(FuseList::Lock) != fuse::kNotLocked;
}

/// Chooses in the lists what is to be written.
Plan MakePlan(Session& session, const FuseOrder& order, const Choices& choices) {
  Plan plan;
  plan.OldBytes = session.State().Command.FuseBytes;
  const std::map<FuseList, std::string> before = ChosenTexts(session);
  const bool locked = !plan.OldBytes.empty() && ShowsLock(session);
  bool other_fuses = false;
  if (order.FromDefaults) fuse::ApplyFuseLayout(session.Context());
  for (const auto& [list, index] : choices) session.Fuses().Select(list, index);
  for (const auto& [list, text] : ChosenTexts(session)) {
    if (text == before.at(list)) continue;
    other_fuses = other_fuses || list != FuseList::Lock;
    plan.Changes.push_back(
        fmt::format("{}: {} -> {}", fuse::FieldName(list), before.at(list), text));
  }
  plan.NewBytes = fuse::ComposeFuseBytes(session.Context());
  plan.Notes = DescribeOtherBits(session, plan.NewBytes);
  // It acknowledges the write all the same.
  if (locked && other_fuses) {
    const core::Sentence& cause = FindExplanation(problem::kLockedDevice)->Cause;
    plan.Notes.push_back(session.In(cause));
    session.NoteWarning({.Code = problem::kLockedDevice, .Text = cause});
  }
  return plan;
}

void PrintPlan(Session& session, const Plan& plan) {
  Console& out = session.Out();
  if (plan.OldBytes.empty()) {
    out.Print(session.In({"前: このデバイスでは読めません。指定しない項目は既定値になります",
                          "old: cannot be read on this device; fields not named get their "
                          "defaults"}));
  } else {
    out.Print(session.In({"前: ", "old: "}) + fuse::DescribeFuseBytes(plan.OldBytes));
    for (const std::string& change : plan.Changes) out.Print("  " + change);
  }
  for (const std::string& note : plan.Notes) out.Print("  " + note);
  out.Print(session.In({"後: ", "new: "}) + fuse::DescribeFuseBytes(plan.NewBytes));
}

nlohmann::json PlanAsJson(Session& session, const Plan& plan, bool written) {
  return {{"fields", FieldsAsJson(session)},
          {"old_bytes", BytesAsJson(plan.OldBytes)},
          {"new_bytes", BytesAsJson(plan.NewBytes)},
          {"changes", plan.Changes},
          {"notes", plan.Notes},
          {"written", written}};
}

Outcome FinishDryRun(Session& session, const Plan& plan) {
  session.Out().Print(session.In(
      {"完了: 何も書き込んでいません (--dry-run)", "ok: nothing was written (--dry-run)"}));
  return {.Json = PlanAsJson(session, plan, false)};
}

/// Reads what was written back and compares it.
Outcome CheckWritten(Session& session, const Plan& plan, DeviceRun run, nlohmann::json fields) {
  const ReadBack back = ReadBackFuses(session, plan.NewBytes);
  fields["read_back"] = back.Field;
  run.Seconds += back.Run.Seconds;
  if (!back.WhyNot.empty() && !back.Doubt && back.Run.Code == ExitCode::Success) {
    session.Out().Print(session.In({"読み戻していません: ", "not read back: "}) + back.WhyNot);
    return TellDeviceRun(session, run, fields);
  }
  if (back.Doubt) return TellDoubt(session, run, *back.Doubt, fields);
  run.Code = back.Run.Code;
  run.Ending = back.Run.Ending;
  if (run.Code != ExitCode::Success) return TellDeviceRun(session, run, fields);
  session.Out().Print(fmt::format(
      fmt::runtime(session.In({"完了: ヒューズとロックビットを書き込み、読み戻しました ({:.1f} 秒)",
                               "ok: fuse and lock bits written and read back in {:.1f} s"})),
      run.Seconds));
  if (!session.Json()) return {.Code = ExitCode::Success};
  return TellDeviceRun(session, run, fields);
}

}  // namespace

ExitCode CheckFuseOrder(Session& session, const FuseOrder& order) {
  Choices choices;
  return ReadOrder(session, order, choices);
}

bool GivesResetAway(Session& session, const FuseOrder& order) {
  return AnyChoice(session, order, [](const Choices& choices) { return GivesResetAway(choices); });
}

bool LocksAgainstReading(Session& session, const FuseOrder& order) {
  return AnyChoice(session, order, [](const Choices& choices) {
    const auto lock = choices.find(FuseList::Lock);
    return lock != choices.end() && lock->second == fuse::kReadLocked;
  });
}

nlohmann::json FieldsAsJson(Session& session) {
  nlohmann::json fields = nlohmann::json::object();
  for (const FuseList list : ListsOf(session)) {
    fields[std::string(fuse::FieldName(list))] = {
        {"index", session.Fuses().SelectedIndex(list)},
        {"item", session.Fuses().ChosenText(list)},
        {"name", AsciiName(session, list, session.Fuses().SelectedIndex(list))}};
  }
  return fields;
}

Outcome TellFuseRun(Session& session, const DeviceRun& run, const nlohmann::json& more) {
  if (session.HasError() && !session.Json()) return {.Code = run.Code};
  return TellDeviceRun(session, run, more);
}

Outcome WriteFuses(Session& session, const FuseOrder& order) {
  Choices choices;
  if (const ExitCode code = ReadOrder(session, order, choices); code != ExitCode::Success) {
    return {.Code = code};
  }
  // A dry run has nothing to keep a copy for. The copy's reading leaves its traces in the lists.
  const SafetyCopy copy =
      TakeSafetyCopy(session, order.DryRun ? BackupOptions{} : order.Backup, {{"written", false}});
  if (copy.Refusal) return *copy.Refusal;
  if (LayoutOf(session).ReadEnabled && !order.JustRead) {
    const DeviceRun read =
        ReadFusesTwice(session, {"。何も書き込んでいません", "; nothing was written"});
    if (read.Code != ExitCode::Success) {
      nlohmann::json fields = copy.Fields;
      fields["written"] = false;
      return TellFuseRun(session, read, fields);
    }
  }
  const Plan plan = MakePlan(session, order, choices);
  PrintPlan(session, plan);
  // A chip that claims to have given its reset pin away already is not to be believed.
  if (fuse::DisablesReset(session.Context()) && !order.AllowResetDisable) {
    return RefuseResetDisable(session, {"何も書き込んでいません", "nothing was written"});
  }
  if (order.DryRun) return FinishDryRun(session, plan);
  const DeviceRun run = RunOnDevice(session, ops::cmdFuseWrite_Click);
  nlohmann::json fields = PlanAsJson(session, plan, run.Code == ExitCode::Success);
  fields.update(copy.Fields);
  fields["read_back"] = "not done";
  if (run.Code != ExitCode::Success) return TellDeviceRun(session, run, fields);
  return CheckWritten(session, plan, run, fields);
}

}  // namespace fenwright::cli
