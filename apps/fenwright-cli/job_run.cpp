#include "job_run.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "check_sum.h"
#include "core/device_catalogue.h"
#include "core/file_reason.h"
#include "fuse/fuse_bytes.h"
#include "image/buffers.h"
#include "line_capture.h"
#include "ops/link_commands.h"
#include "ops/trouble.h"
#include "programming.h"
#include "socket.h"
#include "text.h"
#include "time_text.h"
#include "write_fuses.h"

namespace fenwright::cli {
namespace {

std::string PathIn(const JobOrder& order, const std::string& path) {
  if (path.empty()) return "";
  return ToUtf8((ToPath(order.Folder) / ToPath(path)).lexically_normal());
}

ProgramOrder ProgramOrderOf(const JobOrder& order) {
  const job::Job& job = order.Job;
  ProgramOrder program;
  program.Files = {
      .Code = PathIn(order, job.Code), .Data = PathIn(order, job.Data), .NoData = job.NoData};
  program.Numbers = {.Serial = job.Serial,
                     .Counter = PathIn(order, job.Counter),
                     .CounterStart = order.CounterStart,
                     .Osccal = job.Osccal,
                     .TakeNone = order.IsRehearsal};
  program.KeepEeprom = job.KeepEeprom;
  if (!order.IsRehearsal) program.Backup.Folder = PathIn(order, job.Backup);
  return program;
}

/// The fuse bits, and the lock bits after them, as orders of their own.
struct FuseOrders {
  std::optional<FuseOrder> Fuses;
  std::optional<FuseOrder> Lock;
};

FuseOrders FuseOrdersOf(Session& session, const job::Job& job) {
  FuseOrders orders;
  FuseOrder fuses{.FromDefaults = job.FuseDefaults, .AllowResetDisable = job.AllowResetDisable};
  for (const auto& [field, item] : job.Fuses)
    fuses.Fields.push_back(fmt::format("{}={}", field, item));
  const bool wanted = fuses.FromDefaults || !fuses.Fields.empty();
  if (wanted) orders.Fuses = fuses;
  if (job.Lock.empty()) return orders;
  // Where the bits cannot be read, fields that are not named get their defaults: all are named once
  // more. A device that gives its reset pin away is not reached a second time.
  FuseOrder lock = LayoutOf(session).ReadEnabled ? FuseOrder{} : fuses;
  lock.AllowResetDisable = job.AllowResetDisable;
  if (wanted && GivesResetAway(session, fuses)) {
    lock = fuses;
    orders.Fuses.reset();
  }
  lock.Fields.push_back("LOCK=" + job.Lock);
  orders.Lock = lock;
  return orders;
}

/// Everything that can be checked before anything is sent.
struct Prepared {
  ExitCode Code = ExitCode::Success;
  nlohmann::json Fields = nlohmann::json::object();
  ProgramOrder Program;
  FuseOrders Fuses;
  std::string Image;  ///< check sum of both memories
};

std::string SumOfImage(const core::AppState& state) {
  std::string bytes(state.FlashBuffer.begin(),
                    state.FlashBuffer.begin() + std::ptrdiff_t{2} * state.FlashWords);
  bytes.append(state.EepromBuffer.begin(), state.EepromBuffer.begin() + state.EepromBytes);
  return CheckSum(bytes);
}

Prepared Prepare(Session& session, const JobOrder& order) {
  Prepared prepared{.Program = ProgramOrderOf(order)};
  LoadedFiles loaded = PrepareProgramming(session, prepared.Program);
  prepared.Fields = loaded.Fields;
  prepared.Code = loaded.Code;
  if (prepared.Code != ExitCode::Success) return prepared;
  prepared.Image = SumOfImage(session.State());
  prepared.Fuses = FuseOrdersOf(session, order.Job);
  for (const auto& fuses : {prepared.Fuses.Fuses, prepared.Fuses.Lock}) {
    if (fuses && prepared.Code == ExitCode::Success)
      prepared.Code = CheckFuseOrder(session, *fuses);
  }
  const std::string& backup = prepared.Program.Backup.Folder;
  if (prepared.Code == ExitCode::Success && !backup.empty()) {
    prepared.Code = CheckBackupFolder(session, backup);
  }
  return prepared;
}

/// One thing that the job does, for its plan.
struct Step {
  const char* Name;
  core::Sentence Text;
  double Seconds = 0;  ///< on the wire; 0 = not worth a number
};

/// How far the image reaches in a memory, in bytes, once it is complete.
int EndOfImage(const ProgramOrder& program, bool in_flash, int end) {
  const ChipNumbers& numbers = program.Numbers;
  if (numbers.Serial && numbers.Serial->Place.InFlash == in_flash) {
    end = std::max(end, numbers.Serial->Place.Address + numbers.Serial->Width);
  }
  if (numbers.Osccal && numbers.Osccal->Place.InFlash == in_flash) {
    end = std::max(end, numbers.Osccal->Place.Address + 1);
  }
  return end;
}

int WordsToWrite(Session& session, const ProgramOrder& program) {
  const int bytes = EndOfImage(program, true, 2 * image::UsedFlashWords(session.State()));
  return (bytes + 1) / 2;
}

int BytesToWrite(Session& session, const ProgramOrder& program) {
  if (program.KeepEeprom) return session.State().EepromBytes;
  return EndOfImage(program, false, image::UsedEepromBytes(session.State()));
}

core::Sentence DescribeFuses(Session& session, const FuseOrder& order) {
  const bool readable = LayoutOf(session).ReadEnabled;
  const std::string fields = fmt::format("{}", fmt::join(order.Fields, " "));
  const bool defaults = order.FromDefaults || !readable;
  core::Sentence text{fields + (defaults ? "、ほかは既定値" : "、ほかはチップのまま"),
                      fields + (defaults ? ", the others get their defaults"
                                         : ", the others as the chip has them")};
  if (LocksAgainstReading(session, order)) {
    text.Japanese += "。書き、プロテクトされたことを確かめる";
    text.English += "; written, and the device looked at whether it is locked";
  } else if (readable) {
    text.Japanese += "。二度読み、書き、読み戻す";
    text.English += "; read twice, written, read back";
  } else {
    text.Japanese += "。このデバイスでは読み戻せない";
    text.English += "; this device gives none of them away to read back";
  }
  return text;
}

std::vector<Step> StepsOf(Session& session, const JobOrder& order, const Prepared& prepared) {
  const job::Job& job = order.Job;
  const core::RunContext& context = session.Context();
  const core::AppState& state = session.State();
  const int words = WordsToWrite(session, prepared.Program);
  const int bytes = BytesToWrite(session, prepared.Program);
  const double whole = ops::Forecast(context, 0).VerifySeconds;
  const ops::ProgrammingForecast forecast = ops::Forecast(context, words, bytes, 0);
  const bool has_data = !state.DataFileName.empty() && !job.NoData && !job.KeepEeprom &&
                        session.Streams().Exists(state.DataFileName);
  const std::string data = has_data ? session.Streams().OriginOf(state.DataFileName) : "";
  std::vector<Step> steps;
  steps.push_back(
      {"check",
       {fmt::format("{}{}{}、CRC-32 {}", job.Code, data.empty() ? "" : " ", data, prepared.Image),
        fmt::format("{}{}{}, CRC-32 {}", job.Code, data.empty() ? "" : " ", data,
                    prepared.Image)}});
  const core::DeviceEntry* const device = core::FindDevice(session.Device());
  const std::string signature =
      fmt::format("1E:{:02X}:{:02X}", device->Signature[0], device->Signature[1]);
  steps.push_back(
      {"identify",
       {"シグネチャー " + signature + " を二度読む", "signature " + signature + ", read twice"}});
  if (!job.Backup.empty()) {
    steps.push_back({"backup",
                     {"すべてを二度読み、" + job.Backup + " に保存する",
                      "everything is read twice and kept in " + job.Backup},
                     2 * whole});
  }
  if (job.KeepEeprom && job.Backup.empty()) {
    const double eeprom = ops::Forecast(context, 0, state.EepromBytes, 0).VerifySeconds;
    steps.push_back({"read",
                     {fmt::format("EEPROM {} バイトを二度読む", state.EepromBytes),
                      fmt::format("{} bytes of EEPROM, twice", state.EepromBytes)},
                     2 * eeprom});
  }
  if (job.Osccal) {
    const std::string place = job::Describe(job.Osccal->Place);
    steps.push_back({"osccal",
                     {"発振校正値を二度読み、" + place + " に置く",
                      "the calibration byte, read twice, goes to " + place}});
  }
  if (job.Serial) {
    const std::string place = job::Describe(job.Serial->Place);
    const core::Sentence number =
        job.Serial->Value
            ? core::Sentence{fmt::format("番号 {} ", *job.Serial->Value),
                             fmt::format("number {}", *job.Serial->Value)}
            : core::Sentence{job.Counter + " の次の番号", "the next number of " + job.Counter};
    steps.push_back(
        {"serial",
         {fmt::format("{}を {} に置く (幅 {})", number.Japanese, place, job.Serial->Width),
          fmt::format("{} goes to {} (width {})", number.English, place, job.Serial->Width)}});
  }
  steps.push_back(
      {"erase",
       {job.KeepEeprom ? "フラッシュ、EEPROM、ロックビット。EEPROMは書き戻す"
                       : "フラッシュ、EEPROM、ロックビット。EEPROMの内容は失われる",
        job.KeepEeprom ? "flash, EEPROM and lock bits; the EEPROM is written back"
                       : "flash, EEPROM and lock bits; what the EEPROM holds is lost"}});
  steps.push_back({"write",
                   {fmt::format("フラッシュ {} ワード、EEPROM {} バイト", words, bytes),
                    fmt::format("{} words of flash, {} bytes of EEPROM", words, bytes)},
                   forecast.WriteSeconds});
  steps.push_back({"verify",
                   {fmt::format("フラッシュ {} ワード、EEPROM {} バイト", words, bytes),
                    fmt::format("{} words of flash, {} bytes of EEPROM", words, bytes)},
                   forecast.VerifySeconds});
  if (prepared.Fuses.Fuses) {
    steps.push_back({"fuses", DescribeFuses(session, *prepared.Fuses.Fuses)});
  }
  if (prepared.Fuses.Lock) {
    steps.push_back({"lock", DescribeFuses(session, *prepared.Fuses.Lock)});
  }
  if (!job.Record.empty()) {
    steps.push_back({"record", {job.Record + " に一行", "a row in " + job.Record}});
  }
  return steps;
}

double SecondsOf(const std::vector<Step>& steps) {
  double seconds = 0;
  for (const Step& step : steps) seconds += step.Seconds;
  return seconds;
}

/// The chip in the socket has to be the job's; looked at before anything is done to it.
ExitCode CheckSocket(Session& session) {
  const SocketReading socket = ReadSocket(session);
  if (socket.Code != ExitCode::Success) return socket.Code;
  const auto& catalogue = core::DeviceCatalogue();
  const auto is_it = [&](int index) {
    return catalogue[static_cast<std::size_t>(index)].DisplayName == session.Device();
  };
  if (std::ranges::any_of(socket.Devices, is_it)) return ExitCode::Success;
  const std::string_view found =
      catalogue[static_cast<std::size_t>(socket.Devices.front())].ChipName;
  return session.Fail(
      ExitCode::Failed,
      {.Code = ops::trouble::kWrongChip,
       .Text = {fmt::format("ソケットにあるのは {} です", found),
                fmt::format("the chip in the socket is {}", found)},
       .Cure = {"ジョブのデバイスのチップを入れるか、ジョブファイルの device を直します。",
                "put in a chip of the job's device, or mend \"device\" in the job file"}});
}

/// The fuse and lock bytes that went over the line last, as the record has them.
std::string LastFuses(const Session& session) {
  std::string text;
  for (const core::FuseTransfer& byte : session.State().Command.FuseBytes) {
    text += fmt::format("{}{}=0x{:02X}", text.empty() ? "" : " ", byte.Name, byte.Value);
  }
  return text;
}

/// The work itself; `row` gets what is known so far at any time.
Outcome DoJob(Session& session, const JobOrder& order, ChipRow& row) {
  Prepared prepared = Prepare(session, order);
  const auto end = [&](ExitCode code) { return Outcome{.Code = code, .Json = prepared.Fields}; };
  if (prepared.Code != ExitCode::Success) return end(prepared.Code);
  row.Image = prepared.Image;
  if (const ExitCode code = session.RequirePort(); code != ExitCode::Success) return end(code);
  session.Out().PrintProgress(fmt::format(
      fmt::runtime(session.In({"見込み: 回線の時間 {:.1f} 秒", "forecast: {:.1f} s on the wire"})),
      SecondsOf(StepsOf(session, order, prepared))));
  const ExitCode identified = CheckSocket(session);
  row.Signature = session.StatusBar().Signature();
  if (identified != ExitCode::Success) return end(identified);
  prepared.Program.BeforeErase = [&](std::optional<std::uint64_t> number) {
    row.Serial = number;
    row.Begun = true;
    return order.Record == nullptr ? ExitCode::Success : order.Record->Begin(session, row);
  };
  Programming programmed = ProgramChip(session, prepared.Program, prepared.Fields);
  row.Serial = programmed.Serial.Number();
  if (programmed.Refusal) return *programmed.Refusal;
  if (programmed.Run.Code != ExitCode::Success) {
    programmed.Serial.Note(session, false);
    return TellDeviceRun(session, programmed.Run, programmed.Fields);
  }
  const nlohmann::json programming =
      session.Json() ? TellDeviceRun(session, programmed.Run, programmed.Fields).Json
                     : nlohmann::json::object();
  Outcome outcome{.Json = programming};
  session.NoteEarlierWork(
      {.Done = {"書き込みと照合は済んでいます", "programmed and verified"},
       .Bits = {"ヒューズビットは元のまま、ロックビットは消去した後の状態です",
                "the fuse bits are as they were, the lock bits those of an erased device"}});
  nlohmann::json steps{"program"};
  bool just_read = false;
  for (const auto& [name, wanted] :
       {std::pair{"fuses", &prepared.Fuses.Fuses}, std::pair{"lock", &prepared.Fuses.Lock}}) {
    if (!*wanted) continue;
    FuseOrder fuses = **wanted;
    fuses.JustRead = just_read;
    Outcome written = WriteFuses(session, fuses);
    row.Fuses = LastFuses(session);
    outcome.Code = written.Code;
    // Of both writes together: from what the chip had at first to what it has at last.
    if (outcome.Json.contains("old_bytes")) {
      written.Json["old_bytes"] = outcome.Json["old_bytes"];
      for (const char* const list : {"changes", "notes"}) {
        nlohmann::json all = outcome.Json.value(list, nlohmann::json::array());
        for (const auto& entry : written.Json[list]) all.push_back(entry);
        written.Json[list] = all;
      }
    }
    outcome.Json.update(written.Json);
    // What was done is told of the programming; of the bits what they were and are.
    const nlohmann::json state = outcome.Json.value("chip_state", nlohmann::json(nullptr));
    outcome.Json.update(programming);
    if (written.Code != ExitCode::Success) {
      outcome.Json["chip_state"] = state;
      break;
    }
    session.NoteEarlierWork({.Done = {"書き込みと照合、ヒューズビットは済んでいます",
                                      "programmed and verified, the fuse bits written"},
                             .Bits = {"ロックビットは消去した後の状態です",
                                      "the lock bits are those of an erased device"}});
    steps.push_back(name);
    just_read = true;
  }
  outcome.Json["steps_done"] = steps;
  programmed.Serial.Note(session, outcome.Code == ExitCode::Success);
  return outcome;
}

/// The same before the first chip: the record, too, which a run under way has to itself.
Prepared PrepareFirst(Session& session, const JobOrder& order) {
  Prepared prepared = Prepare(session, order);
  if (prepared.Code == ExitCode::Success && !order.Job.Record.empty()) {
    prepared.Code = CheckRecord(session, RecordPathOf(order));
  }
  return prepared;
}

/// What the job came to, in one line.
std::string Summary(Session& session, const JobOrder& order, const ChipRow& row) {
  std::string text = session.In(
      {"完了: ジョブを終えました: 書き込み、照合", "ok: job done: programmed, verified"});
  const auto add = [&](bool done, const core::Sentence& what) {
    if (done) text += session.In({"、" + what.Japanese, ", " + what.English});
  };
  add(!order.Job.Fuses.empty() || order.Job.FuseDefaults, {"ヒューズ", "fuses written"});
  add(!order.Job.Lock.empty(), {"ロック " + order.Job.Lock, "lock " + order.Job.Lock});
  if (row.Serial) {
    const std::string number = std::to_string(*row.Serial);
    add(true, {"シリアル番号 " + number, "serial " + number});
  }
  return text +
         fmt::format(fmt::runtime(session.In({" ({:.1f} 秒)", " in {:.1f} s"})), row.Seconds);
}

}  // namespace

ExitCode LoadJob(Session& session, const std::string& path, JobOrder& order) {
  session.Out().NoteOutside(path);
  platform::SystemTextFiles files;
  std::string text;
  const platform::FileResult result = files.Read(path, text);
  if (!result) {
    const bool missing = result.Code == platform::FileResult::Status::NotFound;
    return session.Fail(
        ExitCode::FileError,
        {.Code = missing ? problem::kFileMissing : problem::kFileUnreadable,
         .Text = {fmt::format("{}: 読めません: {}", path, core::DescribeReason(result)),
                  fmt::format("{}: cannot be read: {}", path, result.Reason)}});
  }
  const job::JobText read = job::ReadJob(text);
  if (!read.Faults.empty()) {
    Problem problem{.Code = problem::kBadJob};
    for (const job::Fault& fault : read.Faults) {
      const std::string at = (problem.Text.English.empty() ? "" : "\n") + path + ": " +
                             (fault.Key.empty() ? "" : fault.Key + ": ");
      problem.Text.Japanese += at + fault.Text.Japanese;
      problem.Text.English += at + fault.Text.English;
    }
    return session.Fail(ExitCode::FileError, problem);
  }
  order.Job = read.Job;
  order.Folder = ToUtf8(ToPath(path).parent_path());
  return ExitCode::Success;
}

std::string RecordPathOf(const JobOrder& order) { return PathIn(order, order.Job.Record); }

ExitCode CheckJob(Session& session, const JobOrder& order) {
  return PrepareFirst(session, order).Code;
}

Outcome PlanJob(Session& session, const JobOrder& order) {
  const Prepared prepared = PrepareFirst(session, order);
  Outcome outcome{.Code = prepared.Code, .Json = prepared.Fields};
  if (prepared.Code != ExitCode::Success) return outcome;
  const std::vector<Step> steps = StepsOf(session, order, prepared);
  outcome.Json["plan"] = nlohmann::json::array();
  for (const Step& step : steps) {
    outcome.Json["plan"].push_back(
        {{"step", step.Name}, {"text", session.In(step.Text)}, {"wire_seconds", step.Seconds}});
    const std::string seconds = step.Seconds == 0 ? "" : fmt::format("  {:.1f} s", step.Seconds);
    session.Out().PrintResult(fmt::format("{:<9} {}{}", step.Name, session.In(step.Text), seconds));
  }
  session.Out().PrintResult(
      fmt::format(fmt::runtime(session.In({"回線の時間 {:.1f} 秒。何も送っていません",
                                           "{:.1f} s on the wire; nothing was sent"})),
                  SecondsOf(steps)));
  return outcome;
}

ExitCode RehearseJob(Session& session, const JobOrder& order) {
  CapturedLines lines;
  Options options = session.CallOptions();
  // What goes wrong on a simulated board goes wrong in the rehearsal as well.
  if (!options.Simulate) options.Faults.clear();
  options.Simulate = true;
  options.SimulateAtOnce = true;
  options.SimulateChip.clear();
  options.Folder.clear();
  options.Log.clear();
  options.Json = false;
  options.Lines = &lines;
  JobOrder rehearsal = order;
  rehearsal.IsRehearsal = true;
  rehearsal.Record = nullptr;
  Session simulated(options);
  ExitCode code = simulated.Start(kNeedsOfJob);
  ChipRow row;
  if (code == ExitCode::Success) code = DoJob(simulated, rehearsal, row).Code;
  if (code == ExitCode::Stopped) return session.FailStopped();
  if (code == ExitCode::Success) {
    session.Out().PrintProgress(
        session.In({"予行: シミュレーターで成功しました",
                    "rehearsal: the job went well on the simulated board"}));
    return code;
  }
  session.Out().PrintError(lines.Errors());
  return session.Fail(code, {.Code = problem::kRehearsalFailed,
                             .Text = {"予行が失敗しました。チップには触れていません",
                                      "the rehearsal failed; no chip was touched"}});
}

Outcome RunJob(Session& session, const JobOrder& order, ChipRow& row) {
  const auto start = std::chrono::steady_clock::now();
  row = {.Time = TimeText(session.Context().Line.Clock.Now()),
         .Board = session.BoardName(),
         .Device = order.Job.Device};
  session.Out().BeginPart();
  Outcome outcome = DoJob(session, order, row);
  session.Out().EndPart();
  row.Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const bool good = outcome.Code == ExitCode::Success;
  row.Result = good ? "pass" : outcome.Code == ExitCode::Stopped ? "stopped" : "fail";
  row.Error = session.ErrorCode();
  outcome.Json["job"] = {{"serial", row.Serial ? nlohmann::json(*row.Serial) : nullptr},
                         {"image_crc32", row.Image},
                         {"verdict", row.Result}};
  // Without a board there is no chip to tell of.
  if (order.Record != nullptr && (row.Begun || outcome.Code != ExitCode::NoProgrammer)) {
    const ExitCode recorded = order.Record->End(session, row);
    row.Lost = recorded != ExitCode::Success;
    if (good && row.Lost) {
      outcome.Code = recorded;
      row.Error = session.ErrorCode();
    }
  }
  if (order.InProduction) return outcome;
  if (outcome.Code == ExitCode::Success) {
    session.Out().Print(Summary(session, order, row));
  } else if (!session.Json()) {
    session.Out().PrintError(session.In({"ジョブは失敗しました", "the job failed"}));
  }
  return outcome;
}

}  // namespace fenwright::cli
