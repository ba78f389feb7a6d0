#include "pseudo_terminal.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <stdlib.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

namespace fenwright::board_app {
namespace {

namespace fs = std::filesystem;

bool Fail(std::string& error, const std::string& what) {
  error = what + ": " + std::generic_category().message(errno);
  return false;
}

bool MakeRaw(int terminal) {
  termios settings{};
  if (tcgetattr(terminal, &settings) != 0) {
    return false;
  }
  cfmakeraw(&settings);
  return tcsetattr(terminal, TCSANOW, &settings) == 0;
}

}  // namespace

PseudoTerminal::~PseudoTerminal() {
  if (slave_ >= 0) {
    close(slave_);
  }
  if (master_ >= 0) {
    close(master_);
  }
}

bool PseudoTerminal::Open(std::string& error) {
  master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) {
    return Fail(error, "no pseudo terminal");
  }
  std::array<char, 128> name{};
  if (ptsname_r(master_, name.data(), name.size()) != 0) {
    return Fail(error, "no name of the pseudo terminal");
  }
  path_ = name.data();
  slave_ = open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (slave_ < 0 || !MakeRaw(slave_)) {
    return Fail(error, path_);
  }
  return true;
}

bool TerminalLink::Make(const std::string& link, const std::string& target, std::string& error) {
  std::error_code problem;
  const fs::file_status there = fs::symlink_status(link, problem);
  if (fs::exists(there) && !fs::is_symlink(there)) {
    error = link + ": exists and is not a symbolic link";
    return false;
  }
  const std::string temporary = link + "." + std::to_string(getpid());
  fs::create_symlink(target, temporary, problem);
  if (!problem) {
    fs::rename(temporary, link, problem);
  }
  if (problem) {
    error = link + ": " + problem.message();
    std::error_code ignored;
    fs::remove(temporary, ignored);
    return false;
  }
  link_ = link;
  target_ = target;
  return true;
}

TerminalLink::~TerminalLink() {
  // Another board may have taken the name over meanwhile.
  std::error_code problem;
  if (!link_.empty() && fs::read_symlink(link_, problem) == target_) {
    fs::remove(link_, problem);
  }
}

}  // namespace fenwright::board_app
