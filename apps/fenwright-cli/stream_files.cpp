#include "stream_files.h"

#include <utility>

namespace fenwright::cli {
namespace {

/// Hands the text over when it is whole.
class TextWriter final : public platform::FileWriter {
 public:
  explicit TextWriter(std::string& whole) : whole_(whole) {}
  bool Write(std::string_view bytes) override {
    text_ += bytes;
    return true;
  }
  bool Close() override {
    whole_ = std::move(text_);
    return true;
  }
  [[nodiscard]] const platform::FileResult& Result() const override { return result_; }

 private:
  std::string& whole_;
  std::string text_;
  platform::FileResult result_;
};

}  // namespace

const std::string& StreamFiles::OriginOf(const std::string& path) const {
  const auto found = contents_.find(path);
  return found == contents_.end() ? path : found->second.Origin;
}

bool StreamFiles::Exists(std::string_view path) {
  return contents_.contains(path) || (path != kStream && files_.Exists(path));
}

platform::FileResult StreamFiles::Read(std::string_view path, std::string& content) {
  const auto found = contents_.find(path);
  if (found == contents_.end()) return files_.Read(path, content);
  content = found->second.Content;
  return {};
}

std::unique_ptr<platform::FileWriter> StreamFiles::OpenForWriting(std::string_view path,
                                                                  platform::FileResult& result) {
  if (path != kStream) return files_.OpenForWriting(path, result);
  result = {};
  return std::make_unique<TextWriter>(written_);
}

}  // namespace fenwright::cli
