#include "platform/system/whole_text_files.h"

#include <random>
#include <utility>

#include "platform/system/system_file.h"
#include "platform/system/utf8_path.h"

namespace fenwright::platform {
namespace {

using system_file::Links;
using system_file::There;
using system_file::Way;

/// A name beside `path` that nobody is likely to have taken.
std::string NameBeside(const std::string& path) {
  constexpr std::size_t kMostOfName = 200;
  constexpr std::size_t kLetters = 6;
  const std::filesystem::path whole = ToPath(path);
  std::random_device random;
  std::uniform_int_distribution<int> letter('a', 'z');
  std::string name(ShortName(ToUtf8(whole.filename()), kMostOfName));
  name += '.';
  for (std::size_t i = 0; i < kLetters; ++i) name += static_cast<char>(letter(random));
  return ToUtf8(whole.parent_path() / ToPath(name + ".tmp"));
}

/// What is to become the file `path`.
class WholeFile final : public FileWriter {
 public:
  WholeFile(std::string path, There there) : path_(std::move(path)) {
    if (there == There::RegularFile) TestRights();
    if (result_) MakeBeside(there == There::RegularFile ? Way::Private : Way::New);
    if (is_open_ && there == There::RegularFile) system_file::TakeRights(handle_, path_);
  }
  ~WholeFile() override {
    if (!is_open_) return;
    system_file::Close(handle_);
    system_file::Delete(beside_);
  }
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  bool Write(std::string_view bytes) override {
    while (is_open_ && result_ && !bytes.empty()) result_ = system_file::Write(handle_, bytes);
    return is_open_ && result_;
  }

  bool Close() override {
    if (!std::exchange(is_open_, false)) return bool{result_};
    if (result_) result_ = system_file::Flush(handle_);
    FileResult closed = system_file::Close(handle_);
    if (result_) result_ = std::move(closed);
    if (result_) result_ = system_file::Exchange(beside_, path_);
    if (!result_) system_file::Delete(beside_);
    return bool{result_};
  }

  [[nodiscard]] const FileResult& Result() const override { return result_; }

 private:
  /// Nothing else asks whether the user may write it: to exchange it takes the folder's rights.
  void TestRights() {
    system_file::Handle old{};
    result_ = system_file::Open(path_, Way::Append, Links::Follow, old);
    if (result_) system_file::Close(old);
  }

  void MakeBeside(Way way) {
    constexpr int kAttempts = 16;
    for (int i = 0; i < kAttempts; ++i) {
      beside_ = NameBeside(path_);
      result_ = system_file::Open(beside_, way, Links::Refuse, handle_);
      if (result_.Cause != FailureCause::Exists) break;
    }
    is_open_ = bool{result_};
  }

  std::string path_;
  std::string beside_;
  system_file::Handle handle_{};
  FileResult result_;
  bool is_open_ = false;
};

/// Null when there is nothing to exchange: then the file is to be written in place.
std::unique_ptr<WholeFile> OpenWhole(std::string_view path, Links links) {
  std::string place(path);
  // The system would take such a path for a shorter one.
  if (place.find('\0') != std::string::npos) return nullptr;
  const There there = system_file::FindPlace(place, links);
  if (there == There::Other) return nullptr;
  return std::make_unique<WholeFile>(std::move(place), there);
}

std::unique_ptr<FileWriter> ResultOf(std::unique_ptr<WholeFile> file, FileResult& result) {
  result = file->Result();
  if (!result) return nullptr;
  return file;
}

}  // namespace

FileResult WholeTextFiles::Write(std::string_view path, std::string_view content) {
  const std::unique_ptr<WholeFile> file = OpenWhole(path, Links::Refuse);
  if (!file) return files_.Write(path, content);
  file->Write(content);
  file->Close();
  return file->Result();
}

std::unique_ptr<FileWriter> WholeTextFiles::OpenForWriting(std::string_view path,
                                                           FileResult& result) {
  std::unique_ptr<WholeFile> file = OpenWhole(path, Links::Follow);
  return file ? ResultOf(std::move(file), result) : files_.OpenForWriting(path, result);
}

std::unique_ptr<FileWriter> WholeTextFiles::OpenOwnForWriting(std::string_view path,
                                                              FileResult& result) {
  std::unique_ptr<WholeFile> file = OpenWhole(path, Links::Refuse);
  return file ? ResultOf(std::move(file), result) : files_.OpenOwnForWriting(path, result);
}

}  // namespace fenwright::platform
