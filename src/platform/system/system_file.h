#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/text_files.h"

/// The calls that the text files need from the system itself. Each system has one file that
/// implements them. Paths have no NUL in them.
namespace fenwright::platform::system_file {

#ifdef _WIN32
using Handle = void*;
#else
using Handle = int;
#endif

/// What a file is opened for. `Replace` cuts it to nothing; it and `Append` create a missing file.
enum class Way { Read, Replace, Append };

/// Whether a symbolic link in the file's place is followed. That the folders above it are links
/// does not matter.
enum class Links { Follow, Refuse };

/// What is said of a link that is not followed.
inline constexpr const char* kIsLinkReason = "Is a symbolic link";

/// Has a limit on the size of files be an error where it would end the program.
void Prepare();

/// Opens a regular file. `file` is set on success only.
FileResult Open(const std::string& path, Way way, Links links, Handle& file);

/// Takes the bytes that come next, as many as there is room for or fewer; `count` is how many, 0 at
/// the end of the file.
FileResult Read(Handle file, std::span<char> room, std::size_t& count);

/// Writes the start of `bytes`, which are not empty, and takes it off them: everything, unless the
/// system stops short.
FileResult Write(Handle file, std::string_view& bytes);

FileResult Close(Handle file);

bool Exists(const std::string& path);

/// Deletes a file, if it can.
void Delete(const std::string& path);

/// What is said of a path that the system could not take, and of a file that is too large.
FileResult InvalidPath();
FileResult TooLarge();

}  // namespace fenwright::platform::system_file
