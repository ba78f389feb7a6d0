#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/text_files.h"

namespace fenwright::cli {

/// The name that stands for standard input, or output, on the command line.
inline constexpr std::string_view kStream = "-";

/// Files beside those of the system: contents that a call has from elsewhere, each under a name of
/// its own, to be read; and what is written to "-", which is kept for standard output.
class StreamFiles final : public platform::TextFiles {
 public:
  /// `files` has all the other files.
  explicit StreamFiles(platform::TextFiles& files) : files_(files) {}

  /// From now on there is a file of that name. `origin` is the path of the file that it was made
  /// from, "" when it was none.
  void Provide(const std::string& name, std::string content, std::string origin) {
    contents_[name] = {.Content = std::move(content), .Origin = std::move(origin)};
  }
  /// What a file was made from, or the file itself.
  [[nodiscard]] const std::string& OriginOf(const std::string& path) const;
  /// What was written to "-", "" when nothing was, or not all.
  [[nodiscard]] const std::string& Written() const { return written_; }

  bool Exists(std::string_view path) override;
  platform::FileResult Read(std::string_view path, std::string& content) override;
  platform::FileResult Write(std::string_view path, std::string_view content) override {
    return files_.Write(path, content);
  }
  platform::FileResult Append(std::string_view path, std::string_view content) override {
    return files_.Append(path, content);
  }
  std::unique_ptr<platform::FileWriter> OpenForWriting(std::string_view path,
                                                       platform::FileResult& result) override;
  std::unique_ptr<platform::FileWriter> OpenOwnForWriting(std::string_view path,
                                                          platform::FileResult& result) override {
    return files_.OpenOwnForWriting(path, result);
  }
  void Delete(std::string_view path) override { files_.Delete(path); }

 private:
  struct Provided {
    std::string Content;
    std::string Origin;
  };

  platform::TextFiles& files_;
  std::map<std::string, Provided, std::less<>> contents_;
  std::string written_;
};

}  // namespace fenwright::cli
