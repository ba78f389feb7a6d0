#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text_files.h"

namespace fenwright::platform {

/// The system's files, but for some that last as long as the object and never reach a disc.
class PrivateTextFiles final : public TextFiles {
 public:
  /// `paths` are kept in memory.
  PrivateTextFiles(TextFiles& files, std::vector<std::string> paths);

  bool Exists(std::string_view path) override;
  FileResult Read(std::string_view path, std::string& content) override;
  FileResult Write(std::string_view path, std::string_view content) override;
  FileResult Append(std::string_view path, std::string_view content) override;
  std::unique_ptr<FileWriter> OpenForWriting(std::string_view path, FileResult& result) override;
  std::unique_ptr<FileWriter> OpenOwnForWriting(std::string_view path, FileResult& result) override;
  void Delete(std::string_view path) override;

 private:
  [[nodiscard]] bool IsPrivate(std::string_view path) const;

  TextFiles& files_;
  std::vector<std::string> private_paths_;
  std::map<std::string, std::string, std::less<>> contents_;
};

}  // namespace fenwright::platform
