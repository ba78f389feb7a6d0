#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/text_files.h"

namespace fenwright::cli {

// Files that must not lose what they were told, whatever happens to the program: the numbers that
// were given away, and what became of each chip.

/// Appends lines in one write and has them on the disc when it returns; creates the file when it
/// is missing.
platform::FileResult AppendDurably(const std::string& path, std::string_view lines);

/// The same for a file's whole content.
platform::FileResult WriteDurably(const std::string& path, std::string_view content);

/// Keeps every other run of the program, and every other thread of this one, from the file for its
/// lifetime. A run that was killed holds nothing.
class FileHold {
 public:
  /// Waits up to `seconds` for whoever has it.
  FileHold(const std::string& path, double seconds);
  ~FileHold();
  FileHold(const FileHold&) = delete;
  FileHold& operator=(const FileHold&) = delete;

  /// False when somebody else kept it all the time.
  explicit operator bool() const { return held_; }

 private:
  struct Lock;

  std::unique_ptr<Lock> lock_;
  bool held_ = false;
};

}  // namespace fenwright::cli
