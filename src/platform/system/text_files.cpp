#include "platform/system/text_files.h"

#include <utility>
#include <vector>

#include "platform/system/system_file.h"

namespace fenwright::platform {
namespace {

using system_file::Links;
using system_file::Way;

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr std::size_t kBlock = std::size_t{64} << 10;

/// A NUL in a path would cut it short and name another file.
bool IsUsable(std::string_view path) { return path.find('\0') == std::string_view::npos; }

/// An open file; the first failure, even that to open it, is the last thing that happens to it.
class File final : public FileWriter {
 public:
  File(std::string_view path, Way way, Links links)
      : result_(IsUsable(path) ? system_file::Open(std::string(path), way, links, handle_)
                               : system_file::InvalidPath()),
        is_open_(result_) {}
  ~File() override { Shut(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  [[nodiscard]] const FileResult& Result() const override { return result_; }

  void Read(std::string& content) {
    std::vector<char> block(kBlock);
    std::size_t count = block.size();
    while (result_ && count > 0) {
      result_ = system_file::Read(handle_, block, count);
      if (!result_) break;
      content.append(block.data(), count);
      if (content.size() > kLargestFile) result_ = system_file::TooLarge();
    }
  }

  bool Write(std::string_view bytes) override {
    while (is_open_ && result_ && !bytes.empty()) result_ = system_file::Write(handle_, bytes);
    return is_open_ && result_;
  }

  bool Close() override {
    Shut();
    return bool{result_};
  }

 private:
  void Shut() {
    if (!std::exchange(is_open_, false)) return;
    FileResult closed = system_file::Close(handle_);
    if (result_) result_ = std::move(closed);
  }

  system_file::Handle handle_{};
  FileResult result_;
  bool is_open_ = false;
};

FileResult WriteWhole(std::string_view path, Way way, std::string_view content) {
  File file(path, way, Links::Refuse);
  file.Write(content);
  file.Close();
  return file.Result();
}

std::unique_ptr<FileWriter> OpenWriter(std::string_view path, Links links, FileResult& result) {
  auto file = std::make_unique<File>(path, Way::Replace, links);
  result = file->Result();
  if (!result) return nullptr;
  return file;
}

}  // namespace

SystemTextFiles::SystemTextFiles() { system_file::Prepare(); }

bool SystemTextFiles::Exists(std::string_view path) {
  return IsUsable(path) && system_file::Exists(std::string(path));
}

FileResult SystemTextFiles::Read(std::string_view path, std::string& content) {
  content.clear();
  File file(path, Way::Read, Links::Follow);
  file.Read(content);
  if (!file.Result()) content.clear();
  return file.Result();
}

FileResult SystemTextFiles::Write(std::string_view path, std::string_view content) {
  return WriteWhole(path, Way::Replace, content);
}

FileResult SystemTextFiles::Append(std::string_view path, std::string_view content) {
  return WriteWhole(path, Way::Append, content);
}

std::unique_ptr<FileWriter> SystemTextFiles::OpenForWriting(std::string_view path,
                                                            FileResult& result) {
  return OpenWriter(path, Links::Follow, result);
}

std::unique_ptr<FileWriter> SystemTextFiles::OpenOwnForWriting(std::string_view path,
                                                               FileResult& result) {
  return OpenWriter(path, Links::Refuse, result);
}

void SystemTextFiles::Delete(std::string_view path) {
  if (IsUsable(path)) system_file::Delete(std::string(path));
}

}  // namespace fenwright::platform
