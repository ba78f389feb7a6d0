#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "chip_record.h"
#include "job/job_file.h"
#include "verb.h"

namespace fenwright::cli {

/// A job that is to be run.
struct JobOrder {
  job::Job Job;
  std::string Folder;  ///< that its paths start at, "" = the working folder
  std::optional<std::uint64_t> CounterStart;
  bool IsRehearsal = false;      ///< on a simulated board: leaves no file and takes no number
  bool InProduction = false;     ///< whoever runs it tells what became of the chip
  ChipRecord* Record = nullptr;  ///< null = none is kept
};

/// Reads a job file. What is wrong with it is printed.
ExitCode LoadJob(Session& session, const std::string& path, JobOrder& order);

/// What a job needs of a session; its device has to be the session's.
inline constexpr Needs kNeedsOfJob = kDeviceOnPort;
/// The same where nothing is sent.
inline constexpr Needs kNeedsOfPlan{.Folder = true, .Device = true};

/// The path of the job's record.
std::string RecordPathOf(const JobOrder& order);

/// Checks everything that can be checked before anything is sent. What is wrong is printed.
ExitCode CheckJob(Session& session, const JobOrder& order);

/// Does that, and tells step by step what the job would do, with bytes
/// and time on the wire.
Outcome PlanJob(Session& session, const JobOrder& order);

/// Runs the very job on a simulated board, without its files and numbers. When that fails the cause
/// is printed.
ExitCode RehearseJob(Session& session, const JobOrder& order);

/// Does the job with the chip in the socket, in this order: checks files and fields, looks at the
/// chip, takes the safety copy, erases, programs, verifies, writes the fuse bits, then the lock
/// bits. `row` is what goes into the record, and was written there.
Outcome RunJob(Session& session, const JobOrder& order, ChipRow& row);

}  // namespace fenwright::cli
