#pragma once

#include <map>
#include <string>

#include "platform/text_files.h"

namespace fenwright::pictures {

/// Files in memory, so that pictures show the same paths wherever they are taken.
class MemoryFiles final : public platform::TextFiles {
 public:
  bool Exists(std::string_view path) override { return Files.contains(path); }
  platform::FileResult Read(std::string_view path, std::string& content) override;
  platform::FileResult Write(std::string_view path, std::string_view content) override;
  platform::FileResult Append(std::string_view path, std::string_view content) override;
  std::unique_ptr<platform::FileWriter> OpenForWriting(std::string_view path,
                                                       platform::FileResult& result) override;
  std::unique_ptr<platform::FileWriter> OpenOwnForWriting(std::string_view path,
                                                          platform::FileResult& result) override {
    return OpenForWriting(path, result);
  }
  void Delete(std::string_view path) override;

  std::map<std::string, std::string, std::less<>> Files;
  std::string Refused;  ///< why the user's files cannot be written, "" = they can
};

}  // namespace fenwright::pictures
