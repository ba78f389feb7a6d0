#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "chip_numbers.h"
#include "device_name.h"
#include "job_run.h"
#include "production.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// What the boards of one call share.
struct RunCall {
  std::string Job;
  std::optional<std::uint64_t> CounterStart;
  bool Plan = false;
  bool Rehearse = false;
  bool Repeat = false;
  bool Enter = false;
  EnterKey Key;
  std::mutex RecordMutex;
  std::unique_ptr<ChipRecord> Record;
  std::mutex RehearsalMutex;
  std::optional<ExitCode> Rehearsed;

  /// The record of the call, which every board writes into.
  ChipRecord& RecordAt(const std::string& path) {
    const std::scoped_lock lock(RecordMutex);
    if (!Record) Record = std::make_unique<ChipRecord>(path);
    return *Record;
  }
};

/// One rehearsal is enough for all boards.
ExitCode Rehearse(Session& session, const JobOrder& order, RunCall& call) {
  const std::scoped_lock lock(call.RehearsalMutex);
  if (!call.Rehearsed || *call.Rehearsed != ExitCode::Success) {
    call.Rehearsed = RehearseJob(session, order);
  }
  return *call.Rehearsed;
}

/// What JSON has of the session that did the work.
Outcome WithFieldsOf(const Session& session, Outcome outcome) {
  nlohmann::json fields = session.CommonFields();
  fields.update(outcome.Json);
  outcome.Json = std::move(fields);
  return outcome;
}

Outcome RunOnce(const Options& options, const JobOrder& order, const RunCall& call) {
  Session session(options);
  const ExitCode code = session.Start(call.Plan ? kNeedsOfPlan : kNeedsOfJob);
  if (code != ExitCode::Success) return WithFieldsOf(session, {.Code = code});
  ChipRow row;
  Outcome outcome = call.Plan ? PlanJob(session, order) : RunJob(session, order, row);
  session.CheckLog();
  return WithFieldsOf(session, std::move(outcome));
}

/// Everything that can be checked without a board, before the first chip.
Outcome Check(const Options& options, const JobOrder& order) {
  Options quiet = options;
  quiet.Quiet = true;
  Session session(quiet);
  ExitCode code = session.Start(kNeedsOfPlan);
  if (code == ExitCode::Success) code = CheckJob(session, order);
  return WithFieldsOf(session, {.Code = code});
}

Outcome Run(Session& session, RunCall& call) {
  JobOrder order{.CounterStart = call.CounterStart};
  if (const ExitCode code = LoadJob(session, call.Job, order); code != ExitCode::Success) {
    return {.Code = code};
  }
  Options options = session.CallOptions();
  core::Sentence error;
  const int named = options.Device.empty() ? 0 : FindDeviceIndex(options.Device, error);
  if (named < 0) {
    return {.Code = session.Fail(ExitCode::Usage, {.Code = problem::kUnknownDevice,
                                                   .Text = {"--device: " + error.Japanese,
                                                            "--device: " + error.English}})};
  }
  if (!options.Device.empty() && named != FindDeviceIndex(order.Job.Device, error)) {
    return {.Code = session.Fail(ExitCode::Usage,
                                 {.Code = problem::kUsage,
                                  .Text = {"--device はジョブファイルの device と違います",
                                           "--device is not the device of the job file"}})};
  }
  options.Device = order.Job.Device;
  if (call.Plan) return RunOnce(options, order, call);
  if (Outcome checked = Check(options, order); checked.Code != ExitCode::Success) return checked;
  if (const ExitCode code = session.RequirePort(); code != ExitCode::Success) return {.Code = code};
  if (call.Rehearse) {
    Session with_device(options);
    const ExitCode code = Rehearse(with_device, order, call);
    if (code != ExitCode::Success) return WithFieldsOf(with_device, {.Code = code});
  }
  if (!order.Job.Record.empty()) {
    order.Record = &call.RecordAt(RecordPathOf(order));
    const ExitCode code = order.Record->Open(session);
    if (code != ExitCode::Success) return {.Code = code};
  }
  if (!call.Repeat) return RunOnce(options, order, call);
  order.InProduction = true;
  Session production(options);
  return WithFieldsOf(
      production, Produce(production, {.Order = order, .Key = call.Enter ? &call.Key : nullptr}));
}

VerbRun BindRun(CLI::App& command) {
  const auto call = std::make_shared<RunCall>();
  command.add_option("JOB.json", call->Job, "job file: docs/job.md describes it")->required();
  CLI::Option* const plan =
      command.add_flag("--plan", call->Plan, "tell what would be done, and send nothing");
  command
      .add_flag("--rehearse", call->Rehearse,
                "run the job on the simulated board first, and stop when it fails there")
      ->excludes(plan);
  CLI::Option* const repeat =
      command
          .add_flag("--repeat", call->Repeat,
                    "chip after chip: wait for the next one in the socket, until Ctrl-C")
          ->excludes(plan);
  command.add_flag("--enter", call->Enter, "with --repeat: each chip begins with the Enter key")
      ->needs(repeat);
  AddCounterStart(command, call->CounterStart);
  return [call](Session& session) { return Run(session, *call); };
}

}  // namespace

const Verb kRun{
    .Name = "run",
    .Description = "do a job: program, verify, fuses, lock, as a job file says",
    .Needed = {},
    .Bind = BindRun,
    .SeveralBoards = true,
    .Examples = {
        {{"--port COM5 run blink.json", "ジョブファイルのとおりに書き込みます",
          "do what the job file says"},
         {"run blink.json --plan", "何をするかを見ます。何も送りません",
          "see what it would do; nothing is sent"},
         {"--port COM5 run blink.json --rehearse", "先にシミュレーターで試します",
          "try it on the simulated board first"},
         {"--port COM5 --port COM6 run blink.json --repeat",
          "二つのボードで、チップを替えるたびに書き込みます", "chip after chip on two boards"}}}};

}  // namespace fenwright::cli
