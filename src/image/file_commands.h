#pragma once

#include <string>
#include <string_view>

#include "core/run_context.h"
#include "image/hex_reader.h"

namespace fenwright::image {

/// What "open both" made of the two files.
struct OpenReport {
  bool CodeFileFound = false;
  bool KnownExtension = false;
  bool DataFileFound = false;
  HexReadReport Code;
  HexReadReport Data;
};

/// `path` with its last three characters replaced by "eep": code and data files travel as a pair.
std::string DataFileNameFor(std::string_view code_path);

/// True for a name that ends in ".hex" or ".rom", in any case.
bool HasCodeFileExtension(std::string_view path);

/// Asks for a code file; on a choice sets both file names and true, on cancel nothing and false.
bool ChooseCodeAndDataFile(core::RunContext& context);

/// Sets the code file's name, and the data file's by the pair rule.
void SetCodeAndDataFile(core::RunContext& context, const std::string& code_path);

/// Loads the two named files into the buffers, blanking each before, and refreshes the views. Any
/// file error ends it where it stands; the report says what happened.
OpenReport LoadCodeAndDataFile(core::RunContext& context);

}  // namespace fenwright::image
