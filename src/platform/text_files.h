#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/failure_cause.h"

namespace fenwright::platform {

/// Outcome of a file call. `Reason` is the system's own words for a failure, UTF-8; what it means
/// stands in `Cause`, where it is one of those that happen.
struct FileResult {
  enum class Status { Ok, NotFound, AccessRefused, Failed };
  Status Code = Status::Ok;
  std::string Reason;
  FailureCause Cause = FailureCause::Unknown;
  explicit operator bool() const { return Code == Status::Ok; }
};

/// A file being written from its start. Destroying it closes it; where a file takes its name only
/// when it is whole, one that was not closed before never was.
class FileWriter {
 public:
  virtual ~FileWriter() = default;
  /// Appends bytes. False as soon as the system could not take them all (a full disc).
  virtual bool Write(std::string_view bytes) = 0;
  /// Flushes and closes; false when bytes were lost.
  virtual bool Close() = 0;
  /// What was lost, and why; Ok as long as nothing was.
  [[nodiscard]] virtual const FileResult& Result() const = 0;
};

/// Whole-file and sequential access to files. Paths are UTF-8, contents are bytes; nothing is
/// translated and nothing throws. A folder, or a file that is not a regular one, is refused where
/// a file is to be written.
///
/// A file that the program makes on its own (trace, dumps, report) lies in a folder that others may
/// be able to write into: Write(), Append() and OpenOwnForWriting() refuse one that is a symbolic
/// link, so that nobody has the program write elsewhere. Reading, and a file that the user names,
/// follow links.
class TextFiles {
 public:
  virtual ~TextFiles() = default;

  /// True when `path` names an existing file (not a folder).
  virtual bool Exists(std::string_view path) = 0;

  /// Reads a whole file into `content`.
  virtual FileResult Read(std::string_view path, std::string& content) = 0;

  /// Replaces a file's whole content in place, creating the file when missing. A failure leaves
  /// what could be written.
  virtual FileResult Write(std::string_view path, std::string_view content) = 0;

  /// Appends in one write, creating the file when missing.
  virtual FileResult Append(std::string_view path, std::string_view content) = 0;

  /// Opens a file that the user has named for writing in place, cut to nothing; null with `result`
  /// set when that fails. What is written stays, whatever fails later. An implementation may keep
  /// the old file until the new one is whole instead: see platform/system/whole_text_files.h.
  virtual std::unique_ptr<FileWriter> OpenForWriting(std::string_view path, FileResult& result) = 0;

  /// The same for a file that the program makes on its own.
  virtual std::unique_ptr<FileWriter> OpenOwnForWriting(std::string_view path,
                                                        FileResult& result) = 0;

  /// Deletes a file; errors are ignored.
  virtual void Delete(std::string_view path) = 0;
};

}  // namespace fenwright::platform
