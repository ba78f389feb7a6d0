#pragma once

#include <string>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::image {

/// `path` with its last three characters replaced by "eep": code and data files travel as a pair.
/// Characters are counted, whatever they are; a path of three or fewer is replaced whole.
std::string DataFileNameFor(std::string_view code_path);

/// What stands behind the last separator.
std::string_view NameOf(std::string_view path);

/// True for a name that ends in ".hex" or ".rom", in any case.
bool HasCodeFileExtension(std::string_view path);

/// `path` without its folder.
std::string FileNameOf(std::string_view path);

/// The folder remembered in the settings under `key`; "" when none is.
std::string StoredFolder(const core::RunContext& context, std::string_view key);

/// Remembers the folder of `path`, everything before its last separator, under `key`.
void StoreFolderOf(core::RunContext& context, std::string_view key, std::string_view path);

}  // namespace fenwright::image
