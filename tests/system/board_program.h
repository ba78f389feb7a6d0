#pragma once

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/scripted_port.h"

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

/// An Intel HEX text of `data` from address 0, 16 bytes a record, with its end record.
inline std::string HexFile(const Bytes& data) {
  std::string text;
  for (std::size_t address = 0; address < data.size(); address += 16) {
    const std::size_t count = std::min<std::size_t>(16, data.size() - address);
    Bytes record{static_cast<std::uint8_t>(count), static_cast<std::uint8_t>(address / 256),
                 static_cast<std::uint8_t>(address % 256), 0};
    for (std::size_t i = 0; i < count; ++i) record.push_back(data[address + i]);
    unsigned sum = 0;
    for (const std::uint8_t byte : record) sum += byte;
    record.push_back(static_cast<std::uint8_t>(0U - sum));
    std::string digits = ToHex(record);
    std::erase(digits, ' ');
    text += ":" + digits + "\r\n";
  }
  return text + ":00000001FF\r\n";
}

}  // namespace fenwright::testing
