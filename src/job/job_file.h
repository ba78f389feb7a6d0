#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/sentence.h"
#include "job/image_place.h"

namespace fenwright::job {

/// What is done with every chip of a kind: the content of a job file. Files and folders are named
/// as the job file has them: a path that is not absolute starts at the job file's own folder.
struct Job {
  std::string Device;         ///< its name in ASCII: core::DeviceAlias()
  std::string Code;           ///< the code file
  std::string Data;           ///< the data file, "" = the one that goes with the code file
  bool NoData = false;        ///< the EEPROM image is blank, whatever lies beside the code file
  bool KeepEeprom = false;    ///< the EEPROM keeps what it holds
  bool FuseDefaults = false;  ///< fields that `Fuses` does not name get their defaults
  std::map<std::string, std::string> Fuses;  ///< field ("CKSEL") and item, as their lists have them
  bool AllowResetDisable = false;            ///< the fuses may give the reset pin away
  std::string Lock;  ///< one of fuse::kLockModeNames, "" = the lock bits stay
  std::optional<SerialNumber> Serial;
  std::string Counter;  ///< file that counts the serial numbers, "" = none is counted
  std::optional<Calibration> Osccal;
  std::string Backup;  ///< folder for a safety copy of each chip, "" = none
  std::string Record;  ///< CSV file that has a row for each chip, "" = none

  bool operator==(const Job&) const = default;
};

/// What is wrong with a job file.
struct Fault {
  std::string Key;  ///< "" = the file as a whole
  core::Sentence Text;
};

/// A job file that was read; without faults the job is whole. That its files are there, and that
/// the device has its fields, is for whoever runs it.
struct JobText {
  job::Job Job;
  std::vector<Fault> Faults;
};

/// Reads the text of a job file: docs/job.md describes it, docs/fenwright-job.schema.json is its
/// JSON Schema. A key that is not known is a fault: a mistyped one would pass for a wish fulfilled.
JobText ReadJob(std::string_view text);

/// The text of a job file; what is left out has its default.
std::string WriteJob(const Job& job);

}  // namespace fenwright::job
