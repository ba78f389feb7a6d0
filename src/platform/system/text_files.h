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
/// - Files are written in place: one that is there keeps its owner, rights, other names and
///   attributes (such as hidden); a new one has the rights that the user or the folder gives new
///   files. A link in a place where none is followed is AccessRefused.
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
  std::unique_ptr<FileWriter> OpenOwnForWriting(std::string_view path, FileResult& result) override;
  /// Of a link the link itself.
  void Delete(std::string_view path) override;
};

}  // namespace fenwright::platform
