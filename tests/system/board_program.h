#pragma once

#include "support/process.h"
#include "support/test_run.h"

namespace fenwright::testing {

/// The commands that change a chip, of the bytes that the PC has sent. The data and addresses of a
/// test that asks for them have none of them as a byte.
inline std::string Destructive(const Bytes& wire) {
  std::string found;
  for (const std::uint8_t byte : wire) {
    if (std::string_view("ecCDful").find(static_cast<char>(byte)) != std::string_view::npos) {
      found += static_cast<char>(byte);
    }
  }
  return found;
}

/// fenwright-board in a folder of its own: a board on a pseudo terminal, its log and its dump.
class BoardProgram {
 public:
  explicit BoardProgram(const std::string& device, std::vector<std::string> options = {})
      : device_(device) {
    std::vector<std::string> command{FENWRIGHT_BOARD_PROGRAM, "--device", device, "--link", Link()};
    for (const char* file : {"dump", "log"}) {
      command.insert(command.end(), {"--" + std::string(file), folder_.File(file)});
    }
    if (std::ranges::find(options, "--baud") == options.end())
      options.insert(options.end(), {"--baud", "0"});
    command.insert(command.end(), options.begin(), options.end());
    process_ = std::make_unique<Process>(command);
    if (!WaitForFile(Link())) throw std::runtime_error("no board: " + process_->Errors());
  }

  [[nodiscard]] const std::string& Device() const { return device_; }
  [[nodiscard]] std::string Link() const { return folder_.File("port"); }
  [[nodiscard]] std::string Dump() const { return ReadFile(folder_.File("dump")); }
  [[nodiscard]] std::string Log() const { return ReadFile(folder_.File("log")); }
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
  std::string device_;
  TemporaryFolder folder_;
  std::unique_ptr<Process> process_;
};

}  // namespace fenwright::testing
