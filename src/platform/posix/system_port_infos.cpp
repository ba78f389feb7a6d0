#include "platform/posix/system_port_infos.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/posix/port_failure.h"
#include "platform/system/system_port_infos.h"

namespace fenwright::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPseudoTerminals = "/dev/pts/";

/// First line of a small file of the kernel, "" when there is none.
std::string FirstLine(const fs::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

fs::path Resolved(const fs::path& path) {
  std::error_code error;
  const fs::path resolved = fs::canonical(path, error);
  return error ? path : resolved;
}

std::string MakersWords(const fs::path& usb_device) {
  const std::string maker = FirstLine(usb_device / "manufacturer");
  const std::string product = FirstLine(usb_device / "product");
  if (maker.empty() || product.starts_with(maker)) return product;
  return maker + " " + product;
}

/// A serial line hangs a few levels below the USB device that it belongs to.
std::string UsbDescription(const fs::path& tty) {
  constexpr int kLevels = 6;
  std::error_code error;
  fs::path folder = fs::canonical(tty / "device", error);
  if (error) return "";
  for (int level = 0; level < kLevels && folder.has_relative_path(); ++level) {
    if (fs::exists(folder / "idVendor", error)) {
      const std::string words = MakersWords(folder);
      return words.empty()
                 ? "USB " + FirstLine(folder / "idVendor") + ":" + FirstLine(folder / "idProduct")
                 : words;
    }
    folder = folder.parent_path();
  }
  return "";
}

std::string DescriptionOf(const fs::path& tty, const std::string& device) {
  if (device.starts_with(kPseudoTerminals)) return "疑似端末";
  if (std::string words = UsbDescription(tty); !words.empty()) return words;
  return FirstLine(tty / "type").empty() ? "" : "内蔵シリアルポート";
}

/// The kernel names serial lines that the machine does not have; their type is 0.
bool IsNameOnly(const fs::path& tty) { return FirstLine(tty / "type") == "0"; }

bool IsOwnProcess(std::string_view process) { return process == std::to_string(getpid()); }

/// As the kernel's list of locks writes a file: device in hexadecimal, number in decimal.
std::string LockName(const struct stat& info) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%02x:%02x:%ju", major(info.st_dev), minor(info.st_dev),
                static_cast<std::uintmax_t>(info.st_ino));
  return text.data();
}

bool IsLockedByOthers(const fs::path& proc, const struct stat& info) {
  const std::string wanted = LockName(info);
  std::ifstream locks(proc / "locks");
  for (std::string line; std::getline(locks, line);) {
    // Number, kind, rule, access, process, file.
    std::array<std::string, 6> words;
    std::istringstream text(line);
    for (std::string& word : words) text >> word;
    if (words[1] == "FLOCK" && words[5] == wanted && !IsOwnProcess(words[4])) return true;
  }
  return false;
}

bool HasOpen(const fs::path& process, const fs::path& device) {
  std::error_code error;
  for (fs::directory_iterator file(process / "fd", error), end; !error && file != end;
       file.increment(error)) {
    std::error_code gone;
    if (fs::read_symlink(file->path(), gone) == device) return true;
  }
  return false;
}

bool IsProcess(const std::string& name) {
  return name.find_first_not_of("0123456789") == std::string::npos;
}

bool IsOpenElsewhere(const fs::path& proc, const fs::path& device) {
  std::error_code error;
  for (fs::directory_iterator entry(proc, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (IsProcess(name) && !IsOwnProcess(name) && HasOpen(entry->path(), device)) return true;
  }
  return false;
}

/// The `errno` value that opening the device would end with; 0 for success, as far as one can see.
int ExpectedFailure(const KernelFolders& kernel, const std::string& path, const fs::path& tty,
                    const fs::path& device) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) return errno;
  if (!S_ISCHR(info.st_mode)) return ENOTTY;
  if (access(path.c_str(), R_OK | W_OK) != 0) return errno;
  if (IsNameOnly(tty)) return EIO;
  if (IsLockedByOthers(kernel.Proc, info)) return EBUSY;
  const bool pseudo = device.string().starts_with(kPseudoTerminals);
  return !pseudo && IsOpenElsewhere(kernel.Proc, device) ? EBUSY : 0;
}

PortState StateOf(PortOpenStatus status) {
  switch (status) {
    case PortOpenStatus::Ok:
      return PortState::Usable;
    case PortOpenStatus::NoPermission:
      return PortState::NoPermission;
    case PortOpenStatus::Busy:
      return PortState::Busy;
    case PortOpenStatus::Missing:
    case PortOpenStatus::Failed:
      break;
  }
  return PortState::Missing;
}

}  // namespace

PosixPortInfos::PosixPortInfos(std::function<std::string(int)> path_of, KernelFolders kernel)
    : path_of_(std::move(path_of)), kernel_(std::move(kernel)) {}

PortInfo PosixPortInfos::Describe(int number) {
  PortInfo info{.Number = number, .Path = path_of_(number)};
  if (info.Path.empty()) return info;
  const fs::path device = Resolved(info.Path);
  const fs::path tty = fs::path(kernel_.Sys) / "class/tty" / device.filename();
  const int error = ExpectedFailure(kernel_, info.Path, tty, device);
  if (error == 0) {
    info.State = PortState::Usable;
  } else {
    const PortOpenResult failure = DescribePortFailure(info.Path, error);
    info.State = StateOf(failure.Status);
    info.Reason = failure.Reason;
  }
  if (info.State != PortState::Missing) info.Description = DescriptionOf(tty, device.string());
  return info;
}

std::unique_ptr<PortInfos> MakeSystemPortInfos(std::function<std::string(int)> path_of) {
  return std::make_unique<PosixPortInfos>(std::move(path_of));
}

}  // namespace fenwright::platform
