#include "platform/system/folder_archive.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/system/system_file.h"
#include "platform/system/utf8_path.h"

namespace fenwright::platform {
namespace {

namespace fs = std::filesystem;

using system_file::Handle;
using system_file::Links;
using system_file::Way;

/// "d" stands for a digit.
constexpr std::string_view kStampForm = "dddd-dd-dd_dd-dd-dd";

std::string Stamp(const DateTime& time) {
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d_%02d-%02d-%02d", time.Year, time.Month,
                time.Day, time.Hour, time.Minute, time.Second);
  return text.data();
}

/// What orders copies by their age: the time, and the number within its second, the longer the
/// larger.
using Age = std::tuple<std::string, std::size_t, std::string>;

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

/// A file of the folder whose name is that of a copy.
struct KnownCopy {
  Age Made;
  std::string Original;  ///< its name
  std::string Path;
};

/// False for a name that no copy has.
bool ReadName(std::string_view name, KnownCopy& copy) {
  if (name.size() <= kStampForm.size()) return false;
  for (std::size_t i = 0; i < kStampForm.size(); ++i) {
    const bool fits = kStampForm[i] == 'd' ? IsDigit(name[i]) : name[i] == kStampForm[i];
    if (!fits) return false;
  }
  std::string_view rest = name.substr(kStampForm.size());
  std::string number;
  if (rest.front() == '_') {
    rest.remove_prefix(1);
    number.assign(rest.begin(), std::ranges::find_if_not(rest, IsDigit));
    rest.remove_prefix(number.size());
    if (number.empty()) return false;
  }
  if (!rest.starts_with(' ')) return false;
  copy.Made = {std::string(name.substr(0, kStampForm.size())), number.size(), number};
  copy.Original = rest.substr(1);
  return true;
}

/// The oldest first.
std::vector<KnownCopy> CopiesIn(const fs::path& folder) {
  std::vector<KnownCopy> copies;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    KnownCopy copy;
    if (!ReadName(ToUtf8(entry->path().filename()), copy)) continue;
    copy.Path = ToUtf8(entry->path());
    copies.push_back(std::move(copy));
  }
  std::ranges::sort(copies, {}, &KnownCopy::Made);
  return copies;
}

/// The number of the next copy of an original within a second: above all that are there, so that it
/// is the newest.
int NextNumber(const std::vector<KnownCopy>& copies, const std::string& stamp,
               const std::string& original) {
  int next = 1;
  for (const KnownCopy& copy : copies) {
    const auto& [made, digits, number] = copy.Made;
    constexpr std::size_t kMostDigits = 8;
    if (made != stamp || copy.Original != original || digits > kMostDigits) continue;
    next = std::max(next, (digits == 0 ? 1 : std::stoi(number)) + 1);
  }
  return next;
}

/// A file that closes itself.
class OpenFile {
 public:
  OpenFile(const std::string& path, Way way)
      : result_(system_file::Open(path, way, Links::Follow, handle_)), is_open_(result_) {}
  ~OpenFile() {
    if (is_open_) system_file::Close(handle_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  [[nodiscard]] const FileResult& Result() const { return result_; }
  [[nodiscard]] Handle Get() const { return handle_; }
  FileResult Close() {
    is_open_ = false;
    return system_file::Close(handle_);
  }

 private:
  Handle handle_{};
  FileResult result_;
  bool is_open_;
};

/// Copies `block`, which holds the first `count` bytes, and all that comes after it.
FileResult CopyFrom(Handle from, Handle to, std::vector<char>& block, std::size_t count) {
  FileResult result;
  while (result && count > 0) {
    std::string_view bytes(block.data(), count);
    while (result && !bytes.empty()) result = system_file::Write(to, bytes);
    if (result) result = system_file::Read(from, block, count);
  }
  return result;
}

/// With those above it that are missing.
FileResult MakeFolder(const fs::path& folder) {
  std::error_code ignored;
  if (folder.empty() || fs::is_directory(folder, ignored)) return {};
  if (folder.has_relative_path() && folder.has_parent_path()) {
    FileResult above = MakeFolder(folder.parent_path());
    if (!above) return above;
  }
  return system_file::MakePrivateFolder(ToUtf8(folder));
}

}  // namespace

FolderArchive::FolderArchive(std::string folder, Clock& clock)
    : folder_(std::move(folder)), clock_(clock) {}

FileResult FolderArchive::Keep(std::string_view path, std::string& copy) {
  copy.clear();
  if (path.find('\0') != std::string_view::npos) return {};
  FileResult result = Copy(std::string(path), copy);
  if (!result && !copy.empty()) system_file::Delete(std::exchange(copy, {}));
  if (result && !copy.empty()) DeleteOldest(copy);
  return result;
}

void FolderArchive::Drop(std::string_view copy) {
  if (!copy.empty()) system_file::Delete(std::string(copy));
}

/// `copy` is set as soon as there is a file to delete after a failure.
FileResult FolderArchive::Copy(const std::string& path, std::string& copy) {
  constexpr std::size_t kBlock = std::size_t{64} << 10;
  OpenFile original(path, Way::Read);
  switch (original.Result().Cause) {
    case FailureCause::NotFound:
    case FailureCause::NoFolder:
    case FailureCause::IsFolder:
    case FailureCause::NotRegular:
      return {};
    default:
      break;
  }
  if (!original.Result()) return original.Result();
  std::vector<char> block(kBlock);
  std::size_t count = 0;
  FileResult result = system_file::Read(original.Get(), block, count);
  if (!result || count == 0) return result;
  const fs::path folder = ToPath(folder_);
  result = MakeFolder(folder);
  if (!result) return result;

  constexpr std::size_t kMostOfName = 200;
  constexpr int kAttempts = 100;
  const std::string stamp = Stamp(clock_.Now());
  const std::string name(ShortName(ToUtf8(ToPath(path).filename()), kMostOfName));
  const int first = NextNumber(CopiesIn(folder), stamp, name);
  for (int number = first; number < first + kAttempts; ++number) {
    std::string counted = stamp;
    if (number > 1) counted += "_" + std::to_string(number);
    const std::string wanted = ToUtf8(folder / ToPath(counted.append(" ").append(name)));
    OpenFile made(wanted, Way::Private);
    result = made.Result();
    if (result.Cause == FailureCause::Exists) continue;
    if (!result) return result;
    copy = wanted;
    result = CopyFrom(original.Get(), made.Get(), block, count);
    if (result) result = system_file::Flush(made.Get());
    FileResult closed = made.Close();
    return result ? closed : result;
  }
  return result;
}

void FolderArchive::DeleteOldest(const std::string& newest) {
  std::vector<KnownCopy> others = CopiesIn(ToPath(folder_));
  std::erase_if(others, [&newest](const KnownCopy& copy) { return copy.Path == newest; });
  for (std::size_t i = 0; i + kMostCopies <= others.size(); ++i) {
    system_file::Delete(others[i].Path);
  }
}

}  // namespace fenwright::platform
