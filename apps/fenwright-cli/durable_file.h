#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/system/system_file.h"
#include "problem.h"

namespace fenwright::cli {

// Files that must not lose what they were told, whatever happens to the program: the numbers that
// were given away, and what became of each chip.

/// Appends lines in one write and has them on the disc when it returns; creates the file when it
/// is missing. A last line that a crash or a full disc has cut short is ended before, with `cut`
/// behind it. Where they cannot be written whole nothing of them stays.
platform::FileResult AppendDurably(const std::string& path, std::string_view lines,
                                   std::string_view cut = "");

/// The same for a file's whole content.
platform::FileResult WriteDurably(const std::string& path, std::string_view content);

/// Takes away what a file has beyond a size in bytes.
platform::FileResult CutTo(const std::string& path, std::size_t size);

/// Keeps every other run of the program, and every other thread of this one, from the file for its
/// lifetime, by a lock on a file of its name with ".lock" behind it. A run that was killed holds
/// nothing; the lock's file stays.
class FileHold {
 public:
  /// Waits up to `seconds` for whoever has it.
  FileHold(const std::string& path, double seconds);
  ~FileHold();
  FileHold(const FileHold&) = delete;
  FileHold& operator=(const FileHold&) = delete;

  explicit operator bool() const { return taken_; }

  /// Why it is not held: the lock's file cannot be made, or somebody else kept the file all the
  /// time.
  [[nodiscard]] Problem WhyNot() const;

 private:
  std::string path_;
  std::string key_;  ///< of the file within this process
  platform::system_file::Handle lock_{};
  platform::FileResult result_;
  bool taken_ = false;
};

}  // namespace fenwright::cli
