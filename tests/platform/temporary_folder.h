#pragma once

#include <filesystem>
#include <stdlib.h>
#include <string>
#include <sys/stat.h>
#include <system_error>

#include <gtest/gtest.h>

namespace fenwright::platform {

/// A folder of a test's own that everybody may enter; it is removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    path_ = (std::filesystem::temp_directory_path() / "fenwright-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) ADD_FAILURE() << "no folder " << path_;
    chmod(path_.c_str(), 0755);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace fenwright::platform
