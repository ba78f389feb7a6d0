#pragma once

#include <optional>

#include "chip_numbers.h"
#include "code_files.h"
#include "device_run.h"
#include "safety_copy.h"

namespace fenwright::cli {

/// What is done with a chip that is programmed.
struct ProgramOrder {
  CodeFiles Files;
  BackupOptions Backup;
  ChipNumbers Numbers;
  bool KeepEeprom = false;
};

/// Loads the files and checks whatever can be checked before anything is sent to the board.
LoadedFiles PrepareProgramming(Session& session, const ProgramOrder& order);

/// What came of programming a chip.
struct Programming {
  std::optional<Outcome> Refusal;       ///< ended before anything was erased or written, and told
  DeviceRun Run;                        ///< otherwise, for the caller to tell
  nlohmann::json Fields;                ///< for --json
  std::optional<std::uint64_t> Number;  ///< the chip's serial number
};

/// Takes the safety copy that is wanted, puts numbers into the image, erases, programs, verifies;
/// the EEPROM gets back what it held, where that is wanted. `fields` come from the preparation.
Programming ProgramChip(Session& session, const ProgramOrder& order, const nlohmann::json& fields);

}  // namespace fenwright::cli
