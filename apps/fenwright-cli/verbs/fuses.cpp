#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "explanations.h"
#include "fuse/fuse_bytes.h"
#include "fuse/fuse_layout.h"
#include "fuse/fuse_model.h"
#include "fuse/lock_modes.h"
#include "fuse/reset_pin.h"
#include "fuse_check.h"
#include "ops/commands.h"
#include "safety_copy.h"
#include "suggest.h"
#include "text.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

using screen::FuseList;
using Choices = FuseChoices;

struct WriteOptions {
  std::vector<std::string> Fields;  ///< "FIELD=ITEM"
  bool FromDefaults = false;        ///< the other fields get their defaults, not the chip's
  bool DryRun = false;
  bool AllowResetDisable = false;  ///< the reset pin may be given away
  std::shared_ptr<BackupOptions> Backup;
};

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

std::optional<int> FindText(const auto& texts, std::string_view text) {
  const auto found = std::ranges::find(texts, LowerCase(text), LowerCase);
  if (found == texts.end()) return std::nullopt;
  return static_cast<int>(found - texts.begin());
}

/// Reads a position. With a zero in front it is none: "011" is meant as bits, and takes the item of
/// that text or nothing.
std::optional<int> ReadPosition(std::string_view text) {
  if (text.size() > 1 && text.front() == '0') return std::nullopt;
  int position = 0;
  const auto [stop, code] = std::from_chars(text.data(), text.data() + text.size(), position);
  const bool number = code == std::errc{} && stop == text.data() + text.size();
  return number ? std::optional(position) : std::nullopt;
}

/// Position of an item that is given by its text, else by its position.
std::optional<int> FindItem(Session& session, FuseList list, std::string_view text) {
  const std::vector<std::string>& items = session.Fuses().Items(list);
  if (const auto index = FindText(items, text)) return index;
  if (list == FuseList::Lock) {
    if (const auto mode = FindText(fuse::kLockModeNames, text)) return mode;
  }
  const std::optional<int> position = ReadPosition(text);
  const bool exists = position && *position >= 0 && std::cmp_less(*position, items.size());
  return exists ? position : std::nullopt;
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
  const std::optional<int> index = FindItem(session, *list, item);
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

ExitCode ReadChoices(Session& session, const WriteOptions& options, Choices& choices) {
  for (const std::string& text : options.Fields) {
    const auto problem = ReadChoice(session, text, choices);
    if (problem) return session.Fail(ExitCode::Usage, *problem);
  }
  if (!choices.empty() || options.FromDefaults) return ExitCode::Success;
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

/// Two readings that differ have said what they came to; nothing of the second is shown.
Outcome TellFuseRun(Session& session, const DeviceRun& run,
                    const nlohmann::json& more = nlohmann::json::object()) {
  if (session.HasError() && !session.Json()) return {.Code = run.Code};
  return TellDeviceRun(session, run, more);
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
  return session.Fuses().SelectedIndex(FuseList::Lock) != FindText(fuse::kLockModeNames, "none");
}

/// Chooses in the lists what is to be written.
Plan MakePlan(Session& session, const WriteOptions& options, const Choices& choices) {
  Plan plan;
  plan.OldBytes = session.State().Command.FuseBytes;
  const std::map<FuseList, std::string> before = ChosenTexts(session);
  const bool locked = !plan.OldBytes.empty() && ShowsLock(session);
  bool other_fuses = false;
  if (options.FromDefaults) fuse::ApplyFuseLayout(session.Context());
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

/// Reads what was written back and compares it.
Outcome CheckWritten(Session& session, const Plan& plan, DeviceRun run, nlohmann::json fields) {
  const ReadBack back = ReadBackFuses(session, plan.NewBytes);
  fields["read_back"] = back.Field;
  run.Seconds += back.Run.Seconds;
  if (!back.WhyNot.empty()) {
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

Outcome WriteFuses(Session& session, const WriteOptions& options) {
  Choices choices;
  if (const ExitCode code = ReadChoices(session, options, choices); code != ExitCode::Success) {
    return {.Code = code};
  }
  const auto reset = choices.find(FuseList::Rstdisabl);
  if (reset != choices.end() && reset->second == 0 && !options.AllowResetDisable) {
    return RefuseResetDisable(session, {"何も送っていません", "nothing was sent"});
  }
  // A dry run has nothing to keep a copy for. The copy's reading leaves its traces in the lists.
  const SafetyCopy copy = TakeSafetyCopy(
      session, options.DryRun ? BackupOptions{} : *options.Backup, {{"written", false}});
  if (copy.Refusal) return *copy.Refusal;
  if (LayoutOf(session).ReadEnabled) {
    const DeviceRun read =
        ReadFusesTwice(session, {"。何も書き込んでいません", "; nothing was written"});
    if (read.Code != ExitCode::Success) {
      nlohmann::json fields = copy.Fields;
      fields["written"] = false;
      return TellFuseRun(session, read, fields);
    }
  }
  const Plan plan = MakePlan(session, options, choices);
  PrintPlan(session, plan);
  // A chip that claims to have given its reset pin away already is not to be believed.
  if (fuse::DisablesReset(session.Context()) && !options.AllowResetDisable) {
    return RefuseResetDisable(session, {"何も書き込んでいません", "nothing was written"});
  }
  if (options.DryRun) return FinishDryRun(session, plan);
  const DeviceRun run = RunOnDevice(session, ops::cmdFuseWrite_Click);
  nlohmann::json fields = PlanAsJson(session, plan, run.Code == ExitCode::Success);
  fields.update(copy.Fields);
  fields["read_back"] = "not done";
  if (run.Code != ExitCode::Success) return TellDeviceRun(session, run, fields);
  return CheckWritten(session, plan, run, fields);
}

VerbRun BindWrite(CLI::App& command) {
  const auto options = std::make_shared<WriteOptions>();
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
  options->Backup = AddBackup(command);
  return [options](Session& session) { return WriteFuses(session, *options); };
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
