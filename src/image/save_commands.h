#pragma once

#include "core/run_context.h"
#include "image/hex_writer.h"

namespace fenwright::image {

/// How a save command ended.
enum class SaveEnd {
  Written,        ///< every file was written to its end
  Failed,         ///< at least one file was not, and the user has been told
  Declined,       ///< the dialog was cancelled or overwriting refused; nothing was written
  NothingToSave,  ///< no code file has been opened; nothing was written
};

/// What a save command did. A report of a file that the command does not write stays Complete.
struct SaveReport {
  SaveEnd End = SaveEnd::Declined;
  HexWriteReport Code;
  HexWriteReport Data;
};

/// Writes both buffers over the files that were opened last, without asking. The status text at its
/// end says that the files were saved even when a message box has said otherwise before.
SaveReport SaveFiles(core::RunContext& context);

/// Ask for a name and, when a file that would be written exists already, once whether to overwrite;
/// then remember the folder and write. A data file's name always ends in "eep": the last three
/// characters of the chosen name are replaced, and the question is about the name that results.
SaveReport SaveCodeFileAs(core::RunContext& context);
SaveReport SaveDataFileAs(core::RunContext& context);
SaveReport SaveBothFilesAs(core::RunContext& context);

}  // namespace fenwright::image
