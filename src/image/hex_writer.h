#pragma once

#include <string>

#include "core/run_context.h"

namespace fenwright::image {

/// How a HEX file was written.
enum class HexWriteEnd {
  Complete,       ///< to its end record
  AccessRefused,  ///< a read-only file or folder, or a folder in the file's place; nothing written
  NotOpened,      ///< could not be opened for another reason; nothing written
  CutShort        ///< the disc took only the start of the file, which stays as it is
};

/// What a writer did. The user has been told already when it failed.
struct HexWriteReport {
  HexWriteEnd End = HexWriteEnd::Complete;
  std::string Reason;  ///< the system's words, or else ours
  explicit operator bool() const { return End == HexWriteEnd::Complete; }
};

/// Writes the flash buffer to `AppState::CodeSaveFileName`, the EEPROM buffer to
/// `AppState::DataSaveFileName`, replacing any existing file. Intel HEX, upper case, CR LF: full
/// records of 16 bytes from address 0 upward, blank ones included, then ":00000001FF".
///
/// - The code file covers the flash of the selected device, words low byte first.
/// - The data file deliberately covers twice the EEPROM of the selected device; its upper half
/// holds
///   what the buffer holds there.
/// - A checksum can deliberately have a single character: see RecordChecksum().
///
/// What a file holds that is there already is kept before by the run's archive, where it has one
/// (image/old_content.h).
///
/// A failure is shown in a critical message box, with what has become of the old content as its
/// second text, and ends the writer; the caller goes on. A HEX file
/// that was left open (`AppState::HexFileLeftOpen`) makes every write fail at its open.
HexWriteReport WriteCodeHexFile(core::RunContext& context);
HexWriteReport WriteDataHexFile(core::RunContext& context);

}  // namespace fenwright::image
