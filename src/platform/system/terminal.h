#pragma once

#include <functional>
#include <string>
#include <vector>

namespace fenwright::platform {

/// The arguments of main() in UTF-8, the program's name first.
std::vector<std::string> Utf8Arguments(int count, char** arguments);

/// True when standard output is a terminal.
bool OutputIsTerminal();

/// Makes the terminal show UTF-8 and obey escape sequences, as long as the object lives.
class Utf8Terminal {
 public:
  Utf8Terminal();
  ~Utf8Terminal();
  Utf8Terminal(const Utf8Terminal&) = delete;
  Utf8Terminal& operator=(const Utf8Terminal&) = delete;

 private:
  std::function<void()> restore_;  ///< set where there is something to put back
};

}  // namespace fenwright::platform
