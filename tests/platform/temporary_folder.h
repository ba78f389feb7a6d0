#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

namespace fenwright::platform {

/// A folder of a test's own that everybody may enter; it is removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::random_device random;
    const auto base = std::filesystem::temp_directory_path();
    do {
      path_ = (base / ("fenwright-" + std::to_string(random()))).generic_string();
    } while (!std::filesystem::create_directory(path_));
    constexpr auto kMode = std::filesystem::perms{0755};
    std::filesystem::permissions(path_, kMode);
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
