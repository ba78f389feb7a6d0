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
/// `New` and `Private` create one in any case: whatever is there already, even a link, is refused
/// (FailureCause::Exists). Of a private one nobody but the user can read anything.
enum class Way { Read, Replace, Append, New, Private };

/// Whether a symbolic link in the file's place is followed. That the folders above it are links
/// does not matter.
enum class Links { Follow, Refuse };

/// What is said of a file that is there and is not one to use: a link that is not followed, a
/// folder, or one that is not a regular file.
inline FileResult RefusedAs(FailureCause cause) {
  const char* const words = cause == FailureCause::IsLink     ? "Is a symbolic link"
                            : cause == FailureCause::IsFolder ? "Is a directory"
                                                              : "Not a regular file";
  return {.Code = FileResult::Status::AccessRefused, .Reason = words, .Cause = cause};
}

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

/// Has the system bring onto the disc what was written.
FileResult Flush(Handle file);

FileResult Close(Handle file);

/// Has the system bring the name of a file onto the disc, which a new one is not yet with its
/// content.
void FlushFolderOf(const std::string& path);

/// Takes the lock on a file, which is made when it is missing. `taken` is false when somebody else
/// has it; otherwise nobody gets it before Close(), or the end of the process.
FileResult Lock(const std::string& path, Handle& file, bool& taken);

/// What a path leads to.
enum class There { Nothing, RegularFile, Other };

/// Where a file stands that can be exchanged for another one. With Links::Follow `path` becomes
/// that of the file which it leads to in the end. `Other` is what cannot be exchanged: a folder, a
/// device, a pipe, a link that is not followed or leads nowhere near a file, and names that the
/// system makes up for files that are open already.
There FindPlace(std::string& path, Links links);

/// Gives an open file the owner and the rights of the one at `path`, as far as the user may; no
/// group gets more rights by it than it had.
void TakeRights(Handle file, const std::string& path);

/// Puts the closed file `from` into the place of `to`, which may be there, in one step. What is
/// there and cannot be exchanged stays.
FileResult Exchange(const std::string& from, const std::string& to);

/// Makes a folder that nobody but the user may look into.
FileResult MakePrivateFolder(const std::string& path);

bool Exists(const std::string& path);

/// Deletes a file, if it can.
void Delete(const std::string& path);

/// What is said of a path that the system could not take, and of a file that is too large.
FileResult InvalidPath();
FileResult TooLarge();

}  // namespace fenwright::platform::system_file
