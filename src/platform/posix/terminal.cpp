#include "platform/system/terminal.h"

#include <unistd.h>

namespace fenwright::platform {

std::vector<std::string> Utf8Arguments(int count, char** arguments) {
  return {arguments, arguments + count};
}

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

// Terminals are as wanted already.
Utf8Terminal::Utf8Terminal() = default;

Utf8Terminal::~Utf8Terminal() = default;

}  // namespace fenwright::platform
