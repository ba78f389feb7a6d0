#include "fenwright-board/pseudo_terminal.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <pty.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace fenwright::board_app {
namespace {

namespace fs = std::filesystem;

bool Fail(std::string& error, const std::string& what) {
  error = what + ": " + std::generic_category().message(errno);
  return false;
}

}  // namespace

PseudoTerminal::~PseudoTerminal() {
  HangUp();
  EndWithLastUser();
}

bool PseudoTerminal::Open(std::string& error) {
  std::array<char, 128> name{};
  termios settings{};
  if (openpty(&master_, &slave_, name.data(), nullptr, nullptr) != 0 ||
      tcgetattr(slave_, &settings) != 0) {
    return Fail(error, "no pseudo terminal");
  }
  path_ = name.data();
  // Raw from the start: what is sent before the line is opened must not be echoed back.
  cfmakeraw(&settings);
  if (tcsetattr(slave_, TCSANOW, &settings) != 0) {
    return Fail(error, path_);
  }
  for (const int end : {master_, slave_}) {
    fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  return true;
}

void PseudoTerminal::HangUp() {
  if (master_ >= 0) {
    close(std::exchange(master_, -1));
  }
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

void PseudoTerminal::EndWithLastUser() {
  if (slave_ >= 0) {
    close(std::exchange(slave_, -1));
  }
}

TerminalLink::~TerminalLink() {
  // Another board may have taken the name over meanwhile.
  std::error_code problem;
  if (!link_.empty() && fs::read_symlink(link_, problem) == target_) {
    fs::remove(link_, problem);
  }
}

}  // namespace fenwright::board_app
