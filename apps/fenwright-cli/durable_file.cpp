#include "durable_file.h"

#include <chrono>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

#include "check_sum.h"
#include "platform/system/instance_lock.h"
#include "platform/system/system_file.h"
#include "text.h"

namespace fenwright::cli {
namespace {

namespace system_file = platform::system_file;

/// `touched`: whether the file was opened, so that some of the bytes may be in it.
platform::FileResult WriteThrough(const std::string& path, std::string_view bytes,
                                  system_file::Way way, bool& touched) {
  system_file::Prepare();
  system_file::Handle handle{};
  platform::FileResult result = system_file::Open(path, way, system_file::Links::Follow, handle);
  touched = static_cast<bool>(result);
  if (!result) return result;
  while (result && !bytes.empty()) result = system_file::Write(handle, bytes);
  if (result) result = system_file::Flush(handle);
  const platform::FileResult closed = system_file::Close(handle);
  system_file::FlushFolderOf(path);
  return result ? closed : result;
}

/// The files that threads of this process hold.
struct HeldFiles {
  std::mutex Mutex;
  std::set<std::string> Paths;
};

HeldFiles& Held() {
  static HeldFiles held;
  return held;
}

bool HoldInProcess(const std::string& path) {
  const std::scoped_lock lock(Held().Mutex);
  return Held().Paths.insert(path).second;
}

void ReleaseInProcess(const std::string& path) {
  const std::scoped_lock lock(Held().Mutex);
  Held().Paths.erase(path);
}

}  // namespace

platform::FileResult CutTo(const std::string& path, std::size_t size) {
  std::error_code error;
  const auto now = std::filesystem::file_size(ToPath(path), error);
  if (!error && now > size) std::filesystem::resize_file(ToPath(path), size, error);
  if (!error) return {};
  return {.Code = platform::FileResult::Status::Failed, .Reason = error.message()};
}

platform::FileResult AppendDurably(const std::string& path, std::string_view lines,
                                   std::string_view cut) {
  std::string content;
  const platform::FileResult read = platform::SystemTextFiles().Read(path, content);
  // Of a file that cannot be read nobody knows how it ends.
  if (!read && read.Code != platform::FileResult::Status::NotFound) return read;
  const bool is_cut = !lines.empty() && !content.empty() && !content.ends_with('\n');
  const std::string end = is_cut ? std::string(cut) + "\n" : "";
  bool touched = false;
  const platform::FileResult result =
      WriteThrough(path, end + std::string(lines), system_file::Way::Append, touched);
  if (!result && touched) CutTo(path, content.size());
  return result;
}

platform::FileResult WriteDurably(const std::string& path, std::string_view content) {
  bool touched = false;
  return WriteThrough(path, content, system_file::Way::Replace, touched);
}

FileHold::FileHold(const std::string& path, double seconds) : path_(path) {
  constexpr std::chrono::milliseconds kStep{20};
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  std::error_code error;
  const std::filesystem::path place = std::filesystem::absolute(ToPath(path), error);
  // Of a file that is not there yet, the folder's true name.
  const std::filesystem::path real = std::filesystem::weakly_canonical(place, error);
  key_ = ToUtf8(error ? place : real);
  for (;;) {
    if (HoldInProcess(key_)) {
      result_ = system_file::Lock(key_ + ".lock", lock_, taken_);
      if (taken_) return;
      ReleaseInProcess(key_);
      if (!result_) return;
    }
    if (std::chrono::steady_clock::now() >= end) return;
    std::this_thread::sleep_for(kStep);
  }
}

FileHold::~FileHold() {
  if (!taken_) return;
  system_file::Close(lock_);
  ReleaseInProcess(key_);
}

Problem FileHold::WhyNot() const {
  if (!result_) {
    return {.Code = problem::kFileUnwritable,
            .Text = {fmt::format("{}.lock: 書けません: {}", path_, core::DescribeReason(result_)),
                     fmt::format("{}.lock: cannot be written: {}", path_, result_.Reason)}};
  }
  return {.Code = problem::kFileInUse,
          .Text = {path_ + ": ほかのプログラムが使っています",
                   path_ + ": another run of the program has it"}};
}

}  // namespace fenwright::cli
