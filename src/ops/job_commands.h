#pragma once

#include <string>

#include "core/run_context.h"
#include "job/job_file.h"

namespace fenwright::ops {

/// The job that the window works with: the one that was opened or saved last.
struct WindowJob {
  std::string Path;        ///< of its file, "" = there is none yet
  job::Job InFile;         ///< what the file holds
  job::Job Choice;         ///< what the window had chosen when it was opened or saved
  bool WithFuses = false;  ///< the fuse and lock lists belong to the job
};

/// Why the window's present choice is no job, in Japanese: without a device or a code file, or with
/// something in a buffer that is not what its file holds. "" = it is one.
std::string WhyNoJob(const core::RunContext& context);

/// True when the window has chosen what the job's file says.
bool IsJobSaved(core::RunContext& context, const WindowJob& job);

/// A few lines about the job and its file, for the job box.
std::string DescribeJob(core::RunContext& context, const WindowJob& job);

/// The call of the command line that does what the window has chosen: the job, where its file says
/// just that, else programming the two files. "" where WhyNoJob() gives a reason. Each path is
/// quoted for the system's shell.
std::string JobCommandLine(core::RunContext& context, const WindowJob& job, bool simulated);

/// Asks for a job file and opens it.
void cmdJobOpen_Click(core::RunContext& context, WindowJob& job);

/// Opens a job file given by its path: picks its device, loads its files and sets the fuse lists
/// that it names. A file that is no job, names files that are not there or fields that the device
/// does not have changes nothing, and the user is told.
void OpenJob(core::RunContext& context, WindowJob& job, const std::string& path);

/// Asks for a name, and about overwriting, and writes the window's choice as a job file. What the
/// window has no control for stays as the job had it.
void cmdJobSave_Click(core::RunContext& context, WindowJob& job);

}  // namespace fenwright::ops
