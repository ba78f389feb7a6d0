#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <thread>
#include <vector>

#include "fenwright-board/pseudo_terminal.h"

namespace fenwright::platform {

/// A pseudo terminal: the tests hold its far end, the program under test opens `Path()`.
class TerminalLine : public board_app::PseudoTerminal {
 public:
  TerminalLine();

  void Send(std::span<const std::uint8_t> bytes);

  /// Waits up to two seconds for `count` bytes; gives what has come.
  std::vector<std::uint8_t> Receive(std::size_t count);
};

/// A far end that answers: each time it has received `request`, it sends `reply`.
class Answerer {
 public:
  Answerer(TerminalLine& line, std::vector<std::uint8_t> request, std::vector<std::uint8_t> reply);
  ~Answerer();
  Answerer(const Answerer&) = delete;
  Answerer& operator=(const Answerer&) = delete;

 private:
  void Run(const std::vector<std::uint8_t>& request, const std::vector<std::uint8_t>& reply);

  TerminalLine& line_;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace fenwright::platform
