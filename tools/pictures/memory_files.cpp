#include "pictures/memory_files.h"

namespace fenwright::pictures {
namespace {

class Writer final : public platform::FileWriter {
 public:
  explicit Writer(std::string& file) : file_(file) {}
  bool Write(std::string_view bytes) override {
    file_.append(bytes);
    return true;
  }
  bool Close() override { return true; }
  [[nodiscard]] const platform::FileResult& Result() const override { return result_; }

 private:
  platform::FileResult result_;
  std::string& file_;
};

}  // namespace

platform::FileResult MemoryFiles::Read(std::string_view path, std::string& content) {
  const auto file = Files.find(path);
  if (file == Files.end()) {
    return {platform::FileResult::Status::NotFound, "No such file or directory"};
  }
  content = file->second;
  return {};
}

platform::FileResult MemoryFiles::Write(std::string_view path, std::string_view content) {
  Files.insert_or_assign(std::string(path), std::string(content));
  return {};
}

platform::FileResult MemoryFiles::Append(std::string_view path, std::string_view content) {
  Files[std::string(path)].append(content);
  return {};
}

std::unique_ptr<platform::FileWriter> MemoryFiles::OpenForWriting(std::string_view path,
                                                                  platform::FileResult& result) {
  result = {};
  if (!Refused.empty()) {
    result = {platform::FileResult::Status::Failed, Refused};
    return nullptr;
  }
  std::string& file = Files[std::string(path)];
  file.clear();
  return std::make_unique<Writer>(file);
}

void MemoryFiles::Delete(std::string_view path) {
  if (const auto file = Files.find(path); file != Files.end()) Files.erase(file);
}

}  // namespace fenwright::pictures
