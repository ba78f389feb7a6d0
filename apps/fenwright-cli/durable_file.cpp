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

platform::FileResult WriteThrough(const std::string& path, std::string_view bytes,
                                  system_file::Way way) {
  system_file::Prepare();
  system_file::Handle handle{};
  platform::FileResult result = system_file::Open(path, way, system_file::Links::Follow, handle);
  if (!result) return result;
  while (result && !bytes.empty()) result = system_file::Write(handle, bytes);
  if (result) result = system_file::Flush(handle);
  const platform::FileResult closed = system_file::Close(handle);
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

/// Letters and digits alone, and what tells two paths apart.
std::string LockName(const std::filesystem::path& path) {
  std::string name;
  for (const char character : ToUtf8(path.filename())) {
    const bool plain = (character >= '0' && character <= '9') || character == '.' ||
                       (character >= 'A' && character <= 'Z') ||
                       (character >= 'a' && character <= 'z');
    name += plain ? character : '-';
  }
  return name + "-" + CheckSum(ToUtf8(path));
}

}  // namespace

platform::FileResult AppendDurably(const std::string& path, std::string_view lines) {
  return WriteThrough(path, lines, system_file::Way::Append);
}

platform::FileResult WriteDurably(const std::string& path, std::string_view content) {
  return WriteThrough(path, content, system_file::Way::Replace);
}

struct FileHold::Lock {
  std::string Path;
  std::unique_ptr<platform::SingleInstance> Claim;
};

FileHold::FileHold(const std::string& path, double seconds) : lock_(std::make_unique<Lock>()) {
  constexpr std::chrono::milliseconds kStep{20};
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  std::error_code error;
  std::filesystem::path place = std::filesystem::weakly_canonical(ToPath(path), error);
  if (error) place = std::filesystem::absolute(ToPath(path), error);
  lock_->Path = ToUtf8(place);
  for (;;) {
    if (HoldInProcess(lock_->Path)) {
      lock_->Claim = platform::MakeInstanceLock(ToUtf8(std::filesystem::temp_directory_path(error)),
                                                "fenwright-" + LockName(place));
      held_ = lock_->Claim->Claim();
      if (held_) return;
      lock_->Claim.reset();
      ReleaseInProcess(lock_->Path);
    }
    if (std::chrono::steady_clock::now() >= end) return;
    std::this_thread::sleep_for(kStep);
  }
}

FileHold::~FileHold() {
  if (!held_) return;
  lock_->Claim.reset();
  ReleaseInProcess(lock_->Path);
}

}  // namespace fenwright::cli
