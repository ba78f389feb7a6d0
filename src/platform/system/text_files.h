#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/text_files.h"

namespace fenwright::platform {

/// The files of the system.
///
/// - A folder or a special file (device, pipe) is refused for reading and writing alike, without
///   waiting for anything: AccessRefused. Delete() leaves them alone.
/// - Every write and close is checked, so a full disc or a file size limit is reported.
/// - Files above 16 MiB are not read: Failed.
/// - A file or folder that is not there is NotFound; one that the user may not use, or that is no
///   regular file, is AccessRefused; the rest is Failed.
/// - Write() makes a new file beside the one that is to be replaced (beside what a symbolic link
///   leads to), ".fenwright-" with the number of the process and one more, and gives it the other's
///   name once it is complete and closed. It never takes a name that is in use. A failure deletes
///   it; a program that is killed leaves it. It is not forced onto the disc: what a power failure
///   leaves is up to the file system.
/// - A file that may not be written is refused by Write(), too, even where its folder would let it
///   be replaced. A new file has the rights that the user or the folder gives new files; one that
///   takes another's place has the other's: on POSIX owner, group and mode, on Windows its list of
///   rights and attributes such as hidden. What else hangs on a file (extended attributes, streams)
///   goes.
/// - Write() writes in place, after all, where the folder takes no new file or does not let go of
///   the old one, and where the file has several names (hard links). On POSIX also one that cannot
///   be given to the other's owner, or that has a list of rights besides its mode. On Windows also
///   one that has rights or attributes which a new file does not get there, a stream in a file,
///   what a link to nothing stands for, and a file that somebody has open, shares for writing and
///   does not close within half a second.
/// - POSIX: the constructor makes the process ignore SIGXFSZ, unless somebody handles it, since
///   reaching a size limit would end the program otherwise.
/// - Windows: paths of any length. A file that another program holds at the moment (virus scanners
///   and indexers look at new files) is tried again for half a second before it is refused.
class SystemTextFiles final : public TextFiles {
 public:
  SystemTextFiles();
  bool Exists(std::string_view path) override;
  FileResult Read(std::string_view path, std::string& content) override;
  FileResult Write(std::string_view path, std::string_view content) override;
  FileResult Append(std::string_view path, std::string_view content) override;
  std::unique_ptr<FileWriter> OpenForWriting(std::string_view path, FileResult& result) override;
  void Delete(std::string_view path) override;
};

}  // namespace fenwright::platform
