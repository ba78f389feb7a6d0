#pragma once

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/test_run.h"

namespace fenwright::testing {

/// fenwright-board in a folder of its own: a board on a pseudo terminal, its log and its dump.
class BoardProgram {
 public:
  explicit BoardProgram(const std::string& device, std::vector<std::string> options = {}) {
    std::vector<std::string> command{FENWRIGHT_BOARD_PROGRAM,
                                     "--device",
                                     device,
                                     "--link",
                                     Link(),
                                     "--dump",
                                     folder_.File("dump"),
                                     "--log",
                                     folder_.File("log")};
    const bool names_baud = std::find(options.begin(), options.end(), "--baud") != options.end();
    if (!names_baud) options.insert(options.end(), {"--baud", "0"});
    command.insert(command.end(), options.begin(), options.end());
    process_ = std::make_unique<Process>(command);
    if (!WaitForFile(Link())) throw std::runtime_error("no board: " + process_->Errors());
  }

  [[nodiscard]] std::string Link() const { return folder_.File("port"); }
  [[nodiscard]] std::string Dump() const { return ReadFile(folder_.File("dump")); }
  [[nodiscard]] Process& Program() { return *process_; }

  /// Every byte that the PC has sent.
  [[nodiscard]] Bytes Wire() const {
    Bytes bytes;
    std::istringstream log(ReadFile(folder_.File("log")));
    for (std::string line; std::getline(log, line);) {
      if (!line.starts_with("> ")) continue;
      const Bytes part = Hex(line.substr(2));
      bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
  }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<Process> process_;
};

}  // namespace fenwright::testing
