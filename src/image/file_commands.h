#pragma once

#include <string>

#include "core/run_context.h"
#include "image/file_names.h"
#include "image/hex_reader.h"

namespace fenwright::image {

/// What an open command made of its files. What it does not open stays as it is here.
struct OpenReport {
  bool CodeFileFound = false;
  bool KnownExtension = false;
  bool DataFileReached = false;  ///< its turn came: the EEPROM buffer was blanked for it
  bool DataFileFound = false;
  HexReadReport Code;
  HexReadReport Data;
};

/// Ask for a file; on a choice they set the names and return true, on cancel nothing and false. The
/// first sets the code file's name, the second the data file's by the pair rule, the third both.
bool ChooseCodeFile(core::RunContext& context);
bool ChooseDataFile(core::RunContext& context);
bool ChooseCodeAndDataFile(core::RunContext& context);

/// Sets the code file's name, and the data file's by the pair rule.
void SetCodeAndDataFile(core::RunContext& context, const std::string& code_path);

/// Loads the named code file into the flash buffer, blanked before, and refreshes its view. A file
/// that is not there, or has another extension than ".hex" and ".rom", is passed over without a
/// word. A file error, that of the trace included, forgets the code file's name and is shown in a
/// message box.
OpenReport LoadCodeFile(core::RunContext& context);

/// Loads the named data file into the EEPROM buffer, blanked before and left blank when there is no
/// such file, and refreshes its view. A file error is shown in the message dialog.
OpenReport LoadDataFile(core::RunContext& context);

/// Loads the two named files into the buffers, blanking each before, and refreshes the views. Any
/// file error ends it where it stands; the report says what happened. Without a code file's name it
/// says that none was chosen, and a file of another kind gets the same words: both leave the
/// buffers as they are. With the names as they are it is the reload.
OpenReport LoadCodeAndDataFile(core::RunContext& context);

}  // namespace fenwright::image
