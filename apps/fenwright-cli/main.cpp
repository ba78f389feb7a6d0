#include <exception>
#include <iostream>

#include "cli_platform.h"
#include "command_line.h"
#include "platform/system/printable.h"
#include "platform/system/terminal.h"

int main(int argc, char** argv) {
  using fenwright::cli::ExitCode;
  const fenwright::platform::Utf8Terminal terminal;
  try {
    fenwright::cli::CommandLine line;
    const auto ended =
        line.Read(fenwright::platform::Utf8Arguments(argc, argv), std::cout, std::cerr);
    return fenwright::cli::ProcessCode(ended ? *ended : line.RunVerb());
  } catch (const std::exception& error) {
    // Out of memory, say; nothing of the program's own throws this far.
    std::cerr << "fenwright-cli: " << fenwright::platform::Printable(error.what()) << std::endl;
    return static_cast<int>(ExitCode::Failed);
  }
}
