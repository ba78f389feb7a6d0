#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "chip_reading.h"
#include "fuse_check.h"

namespace fenwright::cli {

// A safety copy is three files of one name in a folder: the flash and the EEPROM as Intel HEX, and
// a description (.json) with device, signature, fuse and calibration bytes and a check sum of each
// of the three. The description is written last: a copy that has none is not whole.

/// What a verb that destroys something takes of it.
struct BackupOptions {
  std::string Folder;        ///< "" = no copy is wanted
  bool ForceLocked = false;  ///< go on where the device is locked, so that no copy can be had
};

/// Adds their options to a verb.
std::shared_ptr<BackupOptions> AddBackup(CLI::App& command);

/// Whether copies can be written there. Why not is printed.
ExitCode CheckBackupFolder(Session& session, const std::string& folder);

/// What came of a copy.
struct SafetyCopy {
  /// What the call ends with when it may not go on: nothing has been erased or written, and the
  /// cause is printed.
  std::optional<Outcome> Refusal;
  nlohmann::json Fields = nlohmann::json::object();  ///< "backup": the description's path, or null
  std::optional<std::vector<std::uint8_t>> Eeprom;   ///< what it holds, where a copy was taken
};

/// Reads the device twice and writes the copy, if one is wanted. The buffers and what is known of
/// them stay as they are. `more` goes into the JSON of a refusal.
SafetyCopy TakeSafetyCopy(Session& session, const BackupOptions& options,
                          const nlohmann::json& more = nlohmann::json::object());

/// Ends a call before anything was erased or written: says so behind what has been said of `run`.
Outcome RefuseUntouched(Session& session, const DeviceRun& run, nlohmann::json fields);

/// Fails a call since a locked device gives away nothing that is worth keeping.
ExitCode FailLocked(Session& session);

/// What the names of a device's files begin with: device and signature.
std::string CopyNameStart(Session& session);

/// A new file in a folder ("" = the working folder), empty, named by device, signature, date and
/// time. Where it cannot be made its writing will say why.
std::string NewCopyPath(Session& session, const std::string& folder, const std::string& extension);

/// A copy that was read from its files.
struct LoadedCopy {
  ExitCode Code = ExitCode::Success;  ///< otherwise the cause is printed
  ChipReading Content;
};

/// Reads a whole copy of the selected device, by the path of its description, and loads its
/// memories into the buffers.
LoadedCopy LoadSafetyCopy(Session& session, const std::string& path);

}  // namespace fenwright::cli
