#include "fuse_commands.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "fuse/fuse_bytes.h"
#include "fuse/fuse_layout.h"
#include "fuse/fuse_model.h"
#include "fuse/reset_pin.h"
#include "ops/commands.h"
#include "result.h"
#include "session.h"

namespace fenwright::cli {
namespace {

using screen::FuseList;
using Choices = std::map<FuseList, int>;
using FuseBytes = std::vector<core::FuseTransfer>;

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& character : lower) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return lower;
}

const fuse::FuseLayout& LayoutOf(Session& session) {
  return fuse::LayoutOf(session.Context().Screen.DeviceForm.DeviceText());
}

/// The lists of the selected device, in the order of the window's frame.
std::vector<FuseList> ListsOf(Session& session) {
  std::vector<FuseList> lists;
  for (const FuseList list : fuse::kFrameOrder) {
    if (session.Fuses().Has(list)) lists.push_back(list);
  }
  return lists;
}

std::string ListFieldNames(Session& session) {
  std::string names;
  for (const FuseList list : ListsOf(session)) {
    names.append(names.empty() ? "" : " ").append(fuse::FieldName(list));
  }
  return names;
}

std::string ListItems(Session& session, FuseList list) {
  std::string items;
  int index = 0;
  for (const std::string& item : session.Fuses().Items(list)) {
    items += fmt::format("\n  {}  {}", index++, item);
  }
  return items;
}

std::optional<FuseList> FindField(Session& session, std::string_view name) {
  for (const FuseList list : ListsOf(session)) {
    if (Lower(fuse::FieldName(list)) == Lower(name)) return list;
  }
  return std::nullopt;
}

/// Position of a lock mode's English name; the list counts from the closed mode to the open one.
std::optional<int> FindLockMode(std::string_view text) {
  static const std::map<std::string, int> kModes{{"write-verify", 0}, {"write", 1}, {"none", 2}};
  const auto found = kModes.find(Lower(text));
  return found == kModes.end() ? std::nullopt : std::optional(found->second);
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
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (Lower(items[i]) == Lower(text)) return static_cast<int>(i);
  }
  if (list == FuseList::Lock) {
    if (const auto mode = FindLockMode(text)) return mode;
  }
  const std::optional<int> position = ReadPosition(text);
  const bool exists = position && *position >= 0 && std::cmp_less(*position, items.size());
  return exists ? position : std::nullopt;
}

/// Reads one FIELD=ITEM into the choices; what is wrong with it, "" when nothing is.
std::string ReadChoice(Session& session, const std::string& text, Choices& choices) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) return fmt::format("{}: write it as FIELD=ITEM", text);
  const std::string name = text.substr(0, equals);
  const std::string item = text.substr(equals + 1);
  const std::optional<FuseList> list = FindField(session, name);
  if (!list) {
    return fmt::format("{}: {} has no such field; its fields are {}", text,
                       session.Context().Screen.DeviceForm.DeviceText(), ListFieldNames(session));
  }
  const std::optional<int> index = FindItem(session, *list, item);
  if (!index) {
    return fmt::format("{}: {} has no such item; its items are{}", text, fuse::FieldName(*list),
                       ListItems(session, *list));
  }
  if (!choices.emplace(*list, *index).second) {
    return fmt::format("{}: {} is given twice", text, fuse::FieldName(*list));
  }
  return "";
}

ExitCode ReadChoices(Session& session, const Options& options, Choices& choices) {
  for (const std::string& text : options.Fields) {
    const std::string complaint = ReadChoice(session, text, choices);
    if (complaint.empty()) continue;
    session.Out().PrintError("error: " + complaint);
    return ExitCode::Usage;
  }
  if (!choices.empty() || options.FromDefaults) return ExitCode::Success;
  session.Out().PrintError(
      fmt::format("error: name what to write as FIELD=ITEM, or --from-defaults; the fields of {} "
                  "are {}",
                  session.Context().Screen.DeviceForm.DeviceText(), ListFieldNames(session)));
  return ExitCode::Usage;
}

ExitCode RefuseResetDisable(Session& session, const char* what_was_done) {
  session.Out().PrintError(fuse::kResetDisableWarning);
  session.Out().PrintError(fmt::format("{}; --allow-reset-disable allows it", what_was_done));
  return ExitCode::Usage;
}

nlohmann::json FieldsAsJson(Session& session) {
  nlohmann::json fields = nlohmann::json::object();
  for (const FuseList list : ListsOf(session)) {
    fields[std::string(fuse::FieldName(list))] = {{"index", session.Fuses().SelectedIndex(list)},
                                                  {"item", session.Fuses().ChosenText(list)}};
  }
  return fields;
}

nlohmann::json BytesAsJson(const FuseBytes& bytes) {
  nlohmann::json object = nlohmann::json::object();
  for (const core::FuseTransfer& byte : bytes) object[byte.Name] = byte.Value;
  return object;
}

/// The calibration bytes that the device has.
std::vector<std::uint8_t> CalibrationOf(Session& session) {
  const std::vector<std::uint8_t>& bytes = session.Context().State.CalibrationBytes;
  const auto count = static_cast<std::size_t>(LayoutOf(session).CalibrationCount);
  return {bytes.begin(),
          bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size()))};
}

void PrintFields(Session& session) {
  for (const FuseList list : ListsOf(session)) {
    const int index = session.Fuses().SelectedIndex(list);
    const std::string item = index < 0
                                 ? "no item stands for these bits"
                                 : fmt::format("{}  ({})", session.Fuses().ChosenText(list), index);
    session.Out().PrintAlways(fmt::format("{:<10} {}", fuse::FieldName(list), item));
  }
  std::string bytes = fuse::DescribeFuseBytes(session.Context().State.Command.FuseBytes);
  session.Out().PrintAlways("bytes      " + bytes);
  std::string calibration;
  for (const std::uint8_t byte : CalibrationOf(session)) {
    calibration += fmt::format("{}0x{:02X}", calibration.empty() ? "" : " ", byte);
  }
  if (!calibration.empty()) session.Out().PrintAlways("calib      " + calibration);
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
  for (const FuseList list : ListsOf(session)) texts[list] = session.Fuses().ChosenText(list);
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
      notes.push_back(fmt::format("{}: {} is written as {}", fuse::FieldName(field.List),
                                  lists.ChosenText(field.List),
                                  lists.Items(field.List).at(static_cast<std::size_t>(index))));
    }
  }
  return notes;
}

/// True when the lists show a lock mode that prohibits writing.
bool ShowsLock(Session& session) {
  return session.Fuses().SelectedIndex(FuseList::Lock) != FindLockMode("none");
}

/// Chooses in the lists what is to be written.
Plan MakePlan(Session& session, const Options& options, const Choices& choices) {
  Plan plan;
  plan.OldBytes = session.Context().State.Command.FuseBytes;
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
    plan.Notes.emplace_back("the device is locked: it keeps its fuse bits until it is erased");
  }
  return plan;
}

void PrintPlan(Session& session, const Plan& plan) {
  Console& out = session.Out();
  if (plan.OldBytes.empty()) {
    out.Print("old: cannot be read on this device; fields not named get their defaults");
  } else {
    out.Print("old: " + fuse::DescribeFuseBytes(plan.OldBytes));
    for (const std::string& change : plan.Changes) out.Print("  " + change);
  }
  for (const std::string& note : plan.Notes) out.Print("  " + note);
  out.Print("new: " + fuse::DescribeFuseBytes(plan.NewBytes));
}

/// Tells what a call came to, with --json as one object with `more` in it.
ExitCode Finish(Session& session, const Options& options, const CommandRun& run,
                const nlohmann::json& more) {
  if (!options.Json) {
    PrintResult(session, run.Code, run.Seconds);
    return run.Code;
  }
  nlohmann::json result = Result(session, run.Code, run.Seconds);
  result.update(more);
  return session.Out().PrintAlways(Dump(result)) ? run.Code : ExitCode::FileError;
}

nlohmann::json PlanAsJson(Session& session, const Plan& plan, bool written) {
  return {{"command", "write-fuses"},
          {"fields", FieldsAsJson(session)},
          {"old_bytes", BytesAsJson(plan.OldBytes)},
          {"new_bytes", BytesAsJson(plan.NewBytes)},
          {"changes", plan.Changes},
          {"notes", plan.Notes},
          {"written", written}};
}

ExitCode FinishDryRun(Session& session, const Options& options, const Plan& plan) {
  if (!options.Json) {
    session.Out().Print("ok: nothing was written (--dry-run)");
    return ExitCode::Success;
  }
  nlohmann::json result = PlanAsJson(session, plan, false);
  result["result"] = Name(ExitCode::Success);
  result["exit_code"] = static_cast<int>(ExitCode::Success);
  result["device"] = session.Context().Screen.DeviceForm.DeviceText();
  return session.Out().PrintAlways(Dump(result)) ? ExitCode::Success : ExitCode::FileError;
}

}  // namespace

ExitCode RunReadFuses(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  if (!LayoutOf(session).ReadEnabled) {
    session.Out().PrintError(fmt::format("error: the fuse and lock bits of {} cannot be read",
                                         session.Context().Screen.DeviceForm.DeviceText()));
    return EndEarly(session, options, ExitCode::Usage);
  }
  // Bits that no item stands for leave the list as it is; its default must not pass for them.
  session.Fuses().Select(FuseList::Lock, -1);
  const CommandRun run = TimeDeviceCommand(session, ops::cmdFuseRead_Click);
  if (run.Code != ExitCode::Success) return Finish(session, options, run, {});
  if (!options.Json) PrintFields(session);
  return Finish(session, options, run,
                {{"fields", FieldsAsJson(session)},
                 {"bytes", BytesAsJson(session.Context().State.Command.FuseBytes)},
                 {"calibration", CalibrationOf(session)}});
}

ExitCode RunWriteFuses(const Options& options) {
  Session session(options);
  if (const ExitCode code = session.Start(); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  Choices choices;
  if (const ExitCode code = ReadChoices(session, options, choices); code != ExitCode::Success) {
    return EndEarly(session, options, code);
  }
  const auto reset = choices.find(FuseList::Rstdisabl);
  if (reset != choices.end() && reset->second == 0 && !options.AllowResetDisable) {
    return EndEarly(session, options, RefuseResetDisable(session, "nothing was sent"));
  }
  if (LayoutOf(session).ReadEnabled) {
    const CommandRun read = TimeDeviceCommand(session, ops::cmdFuseRead_Click);
    if (read.Code != ExitCode::Success) {
      return Finish(session, options, read, {{"command", "write-fuses"}, {"written", false}});
    }
  }
  const Plan plan = MakePlan(session, options, choices);
  PrintPlan(session, plan);
  // A chip that claims to have given its reset pin away already is not to be believed.
  if (fuse::DisablesReset(session.Context()) && !options.AllowResetDisable) {
    return EndEarly(session, options, RefuseResetDisable(session, "nothing was written"));
  }
  if (options.DryRun) return FinishDryRun(session, options, plan);
  const CommandRun run = TimeDeviceCommand(session, ops::cmdFuseWrite_Click);
  return Finish(session, options, run, PlanAsJson(session, plan, run.Code == ExitCode::Success));
}

}  // namespace fenwright::cli
