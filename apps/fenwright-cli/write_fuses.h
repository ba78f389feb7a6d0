#pragma once

#include <memory>
#include <string>
#include <vector>

#include "fuse_check.h"
#include "safety_copy.h"

namespace fenwright::cli {

/// What is to be written into the fuse and lock bits.
struct FuseOrder {
  std::vector<std::string> Fields;  ///< "FIELD=ITEM"
  bool FromDefaults = false;        ///< the other fields get their defaults, not the chip's
  bool DryRun = false;
  bool AllowResetDisable = false;  ///< the reset pin may be given away
  bool JustRead = false;           ///< the last command has read the bits, and they are trusted
  BackupOptions Backup;
};

/// Fields that the selected device does not have, items that a field does not have, and a choice
/// that gives the reset pin away unasked, or locks the device with it: printed, before anything is
/// sent.
ExitCode CheckFuseOrder(Session& session, const FuseOrder& order);

/// True when the order would give the reset pin away.
bool GivesResetAway(Session& session, const FuseOrder& order);

/// True when the order would lock the device against reading.
bool LocksAgainstReading(Session& session, const FuseOrder& order);

/// Checks the order, reads the bits twice where the device gives them away, shows what will change,
/// writes, and reads back.
Outcome WriteFuses(Session& session, const FuseOrder& order);

/// Every list with its item, for the JSON.
nlohmann::json FieldsAsJson(Session& session);

/// Tells of a reading of the bits. Two readings that differ have said what they came to; nothing of
/// the second is shown.
Outcome TellFuseRun(Session& session, const DeviceRun& run,
                    const nlohmann::json& more = nlohmann::json::object());

}  // namespace fenwright::cli
