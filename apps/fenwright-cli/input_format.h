#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "problem.h"

namespace fenwright::cli {

/// Formats of a code file. Intel HEX is the program's own; from the others a tool that knows them,
/// objcopy, makes it.
enum class InputFormat { Hex, SRecord, Elf, Binary };

/// Their names on the command line, and the format that one of these stands for.
const std::vector<std::string>& FormatNames();
std::optional<InputFormat> FormatNamed(std::string_view name);

/// The format that a content is in, by how it begins; nothing for none that can be told. A binary
/// image cannot be told.
std::optional<InputFormat> FormatOf(std::string_view content);

/// A code file made into Intel HEX.
struct ConvertedInput {
  std::optional<Problem> Trouble;  ///< why there is none
  std::string Code;
  std::string Data;  ///< of the EEPROM, "" when the file has nothing for it
};

/// Converts what is in another format. `name` is the file's, for what is said of it.
ConvertedInput Convert(const std::string& name, std::string_view content, InputFormat format);

}  // namespace fenwright::cli
