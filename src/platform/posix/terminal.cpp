#include "platform/system/terminal.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace fenwright::platform {

std::vector<std::string> Utf8Arguments(int count, char** arguments) {
  return {arguments, arguments + count};
}

bool UserReadsJapanese() {
  for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != '\0') return std::string_view(value).starts_with("ja");
  }
  return false;
}

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

bool ErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

int TerminalWidth() {
  constexpr int kUsual = 80;
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : kUsual;
}

bool DropTypedInput() { return isatty(STDIN_FILENO) == 1 && tcflush(STDIN_FILENO, TCIFLUSH) == 0; }

std::optional<std::string> ReadInputWithin(double seconds) {
  constexpr double kMilliseconds = 1e3;
  pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  if (poll(&input, 1, static_cast<int>(seconds * kMilliseconds)) <= 0) return std::nullopt;
  std::array<char, 64> bytes{};
  const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
  return count <= 0 ? "" : std::string(bytes.data(), static_cast<std::size_t>(count));
}

// Terminals are as wanted already.
Utf8Terminal::Utf8Terminal() = default;

}  // namespace fenwright::platform
