#include "fuse_check.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

#include <fmt/format.h>

#include "explanations.h"
#include "fuse/lock_modes.h"
#include "fuse/reset_pin.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/socket_device.h"

namespace fenwright::cli {
namespace {

using screen::FuseList;

/// What one reading of the device gave.
struct FuseReading {
  FuseBytes Bytes;
  std::vector<std::uint8_t> Calibration;
};

FuseReading LastFuseReading(Session& session) {
  return {.Bytes = session.State().Command.FuseBytes, .Calibration = CalibrationOf(session)};
}

/// Where two readings differ, "" when they don't.
std::string Difference(const FuseReading& first, const FuseReading& second) {
  for (std::size_t i = 0; i < std::min(first.Bytes.size(), second.Bytes.size()); ++i) {
    if (first.Bytes[i] == second.Bytes[i]) continue;
    return fmt::format("{} 0x{:02X}, then 0x{:02X}", first.Bytes[i].Name, first.Bytes[i].Value,
                       second.Bytes[i].Value);
  }
  if (first.Bytes.size() != second.Bytes.size()) return "another number of bytes";
  if (first.Calibration == second.Calibration) return "";
  return fmt::format("calibration 0x{:02X}, then 0x{:02X}", fmt::join(first.Calibration, " 0x"),
                     fmt::join(second.Calibration, " 0x"));
}

/// Why the bits cannot be read back, "" when they can.
std::string WhyNotReadBack(Session& session) {
  if (!LayoutOf(session).ReadEnabled) {
    return session.In({"このデバイスでは読めません", "this device gives none of them away"});
  }
  if (fuse::DisablesReset(session.Context())) {
    return session.In({"デバイスにはもう届きません", "the device can no longer be reached"});
  }
  if (session.Fuses().SelectedIndex(FuseList::Lock) == fuse::kReadLocked) {
    return session.In(
        {"デバイスは読み出しが禁止されています", "the device is locked against reading"});
  }
  return "";
}

Problem NotLocked() {
  return {.Code = problem::kFusesDiffer,
          .Text = {"LOCK: 書いた値 write-verify。デバイスはプロテクトされていません",
                   "LOCK: written write-verify, and the device is not locked"}};
}

Problem NoAnswerBehindLock() {
  return {
      .Code = problem::kNotReadBack,
      .Text = {"ロックビットを書き込みましたが、その後のデバイスの応答からは、プロテクトされたか"
               "どうかが分かりません。接続と接触を確かめてください",
               "the lock bits were written, and what the device answers after it does not tell "
               "whether it is locked: check the connection and the contacts"}};
}

/// Looks whether a device is locked against reading, as it is to be: it hides its signature then,
/// or its lock bits say so where they can be read all the same. One that shows neither has
/// acknowledged the bits and not taken them. What the write has noted of itself stays.
void LookAtReadLock(Session& session, ReadBack& back) {
  core::AppState& state = session.State();
  const core::CommandRecord written = state.Command;
  const bool readable = LayoutOf(session).ReadEnabled;
  session.Fuses().Select(FuseList::Lock, -1);
  bool identified = false;
  const auto start = std::chrono::steady_clock::now();
  back.Run.Ending = ops::RunCommand(session.Context(), [&](core::RunContext& context) {
    if (readable) {
      ops::cmdFuseRead_Click(context);
    } else {
      identified = !ops::IdentifySocket(context).Devices.empty();
    }
  });
  back.Run.Seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const bool asked = state.Command.LinkReady;
  const bool answered = asked && (readable ? state.LinkError == 0 : identified);
  const int lock = session.Fuses().SelectedIndex(FuseList::Lock);
  if (lock < 0) session.Fuses().Select(FuseList::Lock, fuse::kReadLocked);
  state.Command = written;
  state.LinkError = 0;
  back.Field = "failed";
  if (back.Run.Ending == core::CommandEnding::Stopped) {
    back.Run.Code = ExitCode::Stopped;
  } else if (back.Run.Ending == core::CommandEnding::FileError) {
    back.Run.Code = ExitCode::FileError;
  } else if (answered && lock != fuse::kReadLocked) {
    back.Doubt = NotLocked();
  } else {
    // Addresses or zeros come in the place of the signature.
    const std::string& signature = session.StatusBar().Signature();
    const bool hidden = asked && (signature == "00:01:02" || signature == "00:00:00");
    if (!answered && !hidden) back.Doubt = NoAnswerBehindLock();
  }
  if (!back.Doubt && back.Run.Code == ExitCode::Success) back.Field = back.WhyNot;
}

/// What each list is to show once the bytes are read back: not every item has bits of its own.
FuseChoices ExpectedChoices(Session& session, const FuseBytes& written) {
  FuseChoices expected = DecodeFuses(session, written);
  for (const fuse::ReadStep& step : LayoutOf(session).ReadSteps) {
    for (const fuse::DecodedField& field : step.Fields) {
      expected.try_emplace(field.List, session.Fuses().SelectedIndex(field.List));
    }
  }
  return expected;
}

/// The first field that the device holds otherwise; empty when there is none.
core::Sentence FindOther(Session& session, const FuseChoices& expected) {
  for (const auto& [list, index] : expected) {
    const int found = session.Fuses().SelectedIndex(list);
    if (found == index) continue;
    const auto text = [&session, list = list](int item) {
      return item < 0 ? std::string("?") : ItemText(session, list, item);
    };
    return {fmt::format("{}: 書いた値 {}、読み戻した値 {}", fuse::FieldName(list), text(index),
                        text(found)),
            fmt::format("{}: written {}, read back {}", fuse::FieldName(list), text(index),
                        text(found))};
  }
  return {};
}

}  // namespace

const fuse::FuseLayout& LayoutOf(Session& session) { return fuse::LayoutOf(session.Device()); }

std::vector<FuseList> ListsOf(Session& session) {
  std::vector<FuseList> lists;
  for (const FuseList list : fuse::kFrameOrder) {
    if (session.Fuses().Has(list)) lists.push_back(list);
  }
  return lists;
}

std::string AsciiName(Session& session, FuseList list, int index) {
  if (index < 0) return "";
  const auto place = static_cast<std::size_t>(index);
  return list == FuseList::Lock ? fuse::kLockModeNames.at(place)
                                : session.Fuses().Items(list).at(place);
}

std::string ItemText(Session& session, FuseList list, int index) {
  if (index < 0 || session.Language() == core::Language::English) {
    return AsciiName(session, list, index);
  }
  return session.Fuses().Items(list).at(static_cast<std::size_t>(index));
}

FuseChoices DecodeFuses(Session& session, const FuseBytes& bytes) {
  FuseChoices choices;
  for (const fuse::ReadStep& step : LayoutOf(session).ReadSteps) {
    const auto byte = std::ranges::find(bytes, step.Caption, &core::FuseTransfer::Name);
    if (byte == bytes.end()) continue;
    for (const fuse::DecodedField& field : step.Fields) {
      choices[field.List] = fuse::DecodeIndex(field, byte->Value);
    }
  }
  return choices;
}

Outcome RefuseResetDisable(Session& session, const core::Sentence& what_was_done) {
  const std::string warning(fuse::kResetDisableWarning);
  session.Fail(ExitCode::Usage,
               {.Code = problem::kResetPin,
                .Text = {warning, FindExplanation(problem::kResetPin)->Cause.English}});
  session.Out().PrintError(
      session.In(what_was_done) +
      session.In({"。--allow-reset-disable で許します", "; --allow-reset-disable allows it"}));
  return {.Code = ExitCode::Usage};
}

nlohmann::json BytesAsJson(const FuseBytes& bytes) {
  nlohmann::json object = nlohmann::json::object();
  for (const core::FuseTransfer& byte : bytes) object[byte.Name] = byte.Value;
  return object;
}

std::vector<std::uint8_t> CalibrationOf(Session& session) {
  const std::vector<std::uint8_t>& bytes = session.State().CalibrationBytes;
  const auto count = static_cast<std::size_t>(LayoutOf(session).CalibrationCount);
  return {bytes.begin(),
          bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size()))};
}

DeviceRun ReadFusesTwice(Session& session, const core::Sentence& consequence) {
  DeviceRun run = RunOnDevice(session, ops::cmdFuseRead_Click);
  if (run.Code != ExitCode::Success) return run;
  const FuseReading first = LastFuseReading(session);
  const DeviceRun second = RunOnDevice(session, ops::cmdFuseRead_Click);
  run.Seconds += second.Seconds;
  run.Code = second.Code;
  run.Ending = second.Ending;
  if (run.Code != ExitCode::Success) return run;
  const std::string difference = Difference(first, LastFuseReading(session));
  if (difference.empty()) return run;
  run.Code = session.Fail(
      ExitCode::Failed,
      {.Code = problem::kReadingsDiffer,
       .Text = {fmt::format("二回の読み出しの結果が違います: {}。接触とケーブルを確かめて、もう一度"
                            "読み出してください{}",
                            difference, consequence.Japanese),
                fmt::format("two readings of the device differ: {}; check the contacts and the "
                            "cable and read again{}",
                            difference, consequence.English)}});
  return run;
}

Outcome TellDoubt(Session& session, const DeviceRun& run, const Problem& problem,
                  const nlohmann::json& more) {
  session.Fail(ExitCode::Failed, problem);
  if (!session.Json()) return {.Code = ExitCode::Failed};
  return TellDeviceRun(session, {.Code = ExitCode::Failed, .Seconds = run.Seconds}, more);
}

ReadBack ReadBackFuses(Session& session, const FuseBytes& written) {
  ReadBack back;
  back.WhyNot = WhyNotReadBack(session);
  if (!back.WhyNot.empty()) {
    back.Field = back.WhyNot;
    const bool read_locked = session.Fuses().SelectedIndex(FuseList::Lock) == fuse::kReadLocked;
    if (!read_locked || fuse::DisablesReset(session.Context())) return back;
    LookAtReadLock(session, back);
    return back;
  }
  const FuseChoices expected = ExpectedChoices(session, written);
  session.Fuses().Select(FuseList::Lock, -1);
  back.Run = RunOnDevice(session, ops::cmdFuseRead_Click);
  if (back.Run.Code != ExitCode::Success) {
    back.Field = "failed";
    if (back.Run.Code == ExitCode::Stopped || back.Run.Code == ExitCode::FileError) return back;
    back.Doubt = {.Code = problem::kNotReadBack,
                  .Text = {"ビットは書き込みましたが、読み戻せませんでした。接続と、デバイスに"
                           "クロックがあるかを確かめてください",
                           "the bits were written, and could not be read back: check the "
                           "connection, and whether the device still has its clock"}};
    return back;
  }
  back.Field = BytesAsJson(session.State().Command.FuseBytes);
  const core::Sentence other = FindOther(session, expected);
  if (other.English.empty()) return back;
  back.Doubt = {
      .Code = problem::kFusesDiffer,
      .Text = {other.Japanese + "。プロテクトされたデバイスはイレースまでビットを保ちます",
               other.English + "; a locked device keeps its bits until it is erased"}};
  return back;
}

}  // namespace fenwright::cli
