#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/text_files.h"

namespace fenwright::platform {

/// The files of the system, but that what replaces a file is written beside it and takes its name
/// when it is whole and on the disc. Until then the old file is there, whole, whatever happens: a
/// full disc, a kill, a writer that is destroyed without Close(). A failure leaves no file beside
/// it (only a killed program does, under the file's own name with six letters and ".tmp" behind).
///
/// - A link that is followed stays, and the file that it leads to is exchanged. Its rights, and
///   where the user may give them its owner and group, stay; its other names keep the old content.
/// - A file that the user may not write is refused although its folder would take another one.
/// - What is no regular file (a pipe, a device, /dev/stdout) is passed on to `files`.
/// - Append() writes in place.
class WholeTextFiles final : public TextFiles {
 public:
  explicit WholeTextFiles(TextFiles& files) : files_(files) {}

  bool Exists(std::string_view path) override { return files_.Exists(path); }
  FileResult Read(std::string_view path, std::string& content) override {
    return files_.Read(path, content);
  }
  FileResult Write(std::string_view path, std::string_view content) override;
  FileResult Append(std::string_view path, std::string_view content) override {
    return files_.Append(path, content);
  }
  std::unique_ptr<FileWriter> OpenForWriting(std::string_view path, FileResult& result) override;
  std::unique_ptr<FileWriter> OpenOwnForWriting(std::string_view path, FileResult& result) override;
  void Delete(std::string_view path) override { files_.Delete(path); }

 private:
  TextFiles& files_;
};

}  // namespace fenwright::platform
