#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "platform/system/text_files.h"
#include "platform/temporary_folder.h"

namespace fenwright::platform {

/// The system's files in a folder of the test's own.
class TheSystemsFiles : public ::testing::Test {
 protected:
  using Status = FileResult::Status;

  [[nodiscard]] std::string Path(const std::string& name = "file") const {
    return folder_.File(name);
  }

  /// The content by other means than the code under test.
  static std::string ContentOf(const std::string& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static void Make(const std::string& path, std::string_view content) {
    std::ofstream(std::filesystem::path(path), std::ios::binary) << content;
  }

  /// What is in the folder.
  [[nodiscard]] std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  TemporaryFolder folder_;
  SystemTextFiles files_;
};

}  // namespace fenwright::platform
