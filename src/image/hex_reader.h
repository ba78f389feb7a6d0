#pragma once

#include <cstdint>
#include <string>

#include "core/run_context.h"
#include "image/image_check.h"

namespace fenwright::image {

/// How a HEX file was read.
enum class HexReadEnd {
  Complete,      ///< to the end of the file
  NoName,        ///< there was no file name; nothing was done
  BadLine,       ///< a line did not start with ":"
  NotOpened,     ///< the file could not be opened or read
  OutsideBuffer  ///< a record's address lies beyond the buffer
};

/// What became of a read. The window's procedure goes on whatever stands here; the command line
/// refuses a file that `Check` speaks against.
struct HexReadReport {
  HexReadEnd End = HexReadEnd::Complete;
  std::int32_t StoppedAtLine = 0;  ///< counted from 1: where BadLine and OutsideBuffer ended it
  std::string Reason;              ///< the system's words, or else ours, for NotOpened
  platform::FailureCause Cause = platform::FailureCause::Unknown;  ///< what they mean
  ImageCheck Check;  ///< of the content that was read, for the selected device
};

/// Reads `AppState::CodeFileName` into the flash buffer, `AppState::DataFileName` into the EEPROM
/// buffer. Intel HEX, read in the simplest way: data records are stored, every other record type is
/// read past, reading goes on to the physical end of the file, checksums are not tested, and there
/// are no extended addresses. A wrong or missing digit reads as 0 and sets `LinkError`. The caller
/// clears the buffer before.
///
/// A line that does not start with ":" ends the read with a status text; what was read stays. The
/// file is deliberately left open then (`AppState::HexFileLeftOpen`): every later HEX read or
/// write of the run fails at its open.
HexReadReport ReadCodeHexFile(core::RunContext& context);
HexReadReport ReadDataHexFile(core::RunContext& context);

}  // namespace fenwright::image
