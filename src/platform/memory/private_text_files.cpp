#include "platform/memory/private_text_files.h"

#include <algorithm>
#include <utility>

namespace fenwright::platform {
namespace {

class MemoryWriter final : public FileWriter {
 public:
  explicit MemoryWriter(std::string& content) : content_(content) {}
  bool Write(std::string_view bytes) override {
    content_.append(bytes);
    return true;
  }
  bool Close() override { return true; }
  [[nodiscard]] const FileResult& Result() const override { return result_; }

 private:
  FileResult result_;
  std::string& content_;
};

}  // namespace

PrivateTextFiles::PrivateTextFiles(TextFiles& files, std::vector<std::string> paths)
    : files_(files), private_paths_(std::move(paths)) {}

bool PrivateTextFiles::IsPrivate(std::string_view path) const {
  return std::ranges::find(private_paths_, path) != private_paths_.end();
}

bool PrivateTextFiles::Exists(std::string_view path) {
  return IsPrivate(path) ? contents_.contains(path) : files_.Exists(path);
}

FileResult PrivateTextFiles::Read(std::string_view path, std::string& content) {
  if (!IsPrivate(path)) return files_.Read(path, content);
  const auto file = contents_.find(path);
  if (file == contents_.end()) {
    return {.Code = FileResult::Status::NotFound, .Reason = "no such file"};
  }
  content = file->second;
  return {};
}

FileResult PrivateTextFiles::Write(std::string_view path, std::string_view content) {
  if (!IsPrivate(path)) return files_.Write(path, content);
  contents_.insert_or_assign(std::string(path), std::string(content));
  return {};
}

FileResult PrivateTextFiles::Append(std::string_view path, std::string_view content) {
  if (!IsPrivate(path)) return files_.Append(path, content);
  contents_[std::string(path)].append(content);
  return {};
}

std::unique_ptr<FileWriter> PrivateTextFiles::OpenForWriting(std::string_view path,
                                                             FileResult& result) {
  return IsPrivate(path) ? OpenOwnForWriting(path, result) : files_.OpenForWriting(path, result);
}

std::unique_ptr<FileWriter> PrivateTextFiles::OpenOwnForWriting(std::string_view path,
                                                                FileResult& result) {
  if (!IsPrivate(path)) return files_.OpenOwnForWriting(path, result);
  result = {};
  std::string& content = contents_[std::string(path)];
  content.clear();
  return std::make_unique<MemoryWriter>(content);
}

void PrivateTextFiles::Delete(std::string_view path) {
  if (!IsPrivate(path)) return files_.Delete(path);
  if (const auto file = contents_.find(path); file != contents_.end()) contents_.erase(file);
}

}  // namespace fenwright::platform
