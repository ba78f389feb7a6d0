#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenwright::platform {

/// The arguments of main() in UTF-8, the program's name first.
std::vector<std::string> Utf8Arguments(int count, char** arguments);

/// True when the texts of a command line are to be Japanese: the language of the user's locale
/// (`LC_ALL`, `LC_MESSAGES`, `LANG`), on Windows of the user interface.
bool UserReadsJapanese();

/// True when standard output, or error, is a terminal.
bool OutputIsTerminal();
bool ErrorIsTerminal();

/// Characters that a line of standard error's terminal holds; 80 when it does not say.
int TerminalWidth();

/// What has come on standard input, up to a line; nothing when there is none within `seconds`, ""
/// at its end.
std::optional<std::string> ReadInputWithin(double seconds);

/// Forgets what was typed and not read yet. False when standard input is no terminal: what comes
/// from a file or a pipe is kept.
bool DropTypedInput();

/// As long as the object lives, a terminal shows the UTF-8 that is written to std::cout and
/// std::cerr, and obeys the escape sequences in it. What is redirected gets the bytes themselves.
class Utf8Terminal {
 public:
  Utf8Terminal();
  Utf8Terminal(const Utf8Terminal&) = delete;
  Utf8Terminal& operator=(const Utf8Terminal&) = delete;

 private:
  std::shared_ptr<void> changes_;  ///< set where there is something to put back
};

}  // namespace fenwright::platform
