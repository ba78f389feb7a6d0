#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace fenwright::platform {

/// Runs another program, found as the system finds programs, and waits for its end. `command` is
/// its name and its arguments, UTF-8; no shell comes between. What it prints is thrown away, what
/// it complains of goes to the file `errors`. Its exit code, or nothing when there is no such
/// program.
std::optional<int> RunTool(const std::vector<std::string>& command,
                           const std::filesystem::path& errors);

/// A new folder that only the user comes to, for files that go with the object.
class PrivateFolder {
 public:
  PrivateFolder();
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  /// Empty when none could be made.
  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace fenwright::platform
