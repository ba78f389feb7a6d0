#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace fenwright::platform {

/// A pseudo terminal: the tests hold its master, the program under test opens `Path()`.
class PseudoTerminal {
 public:
  PseudoTerminal();
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] int Master() const { return master_; }

  void Send(std::span<const std::uint8_t> bytes);

  /// Waits up to two seconds for `count` bytes; gives what has come.
  std::vector<std::uint8_t> Receive(std::size_t count);

  /// Closes the master.
  void HangUp();

 private:
  int master_ = -1;
  std::string path_;
};

/// A far end that answers: each time it has received `request`, it sends `reply`.
class Answerer {
 public:
  Answerer(PseudoTerminal& line, std::vector<std::uint8_t> request,
           std::vector<std::uint8_t> reply);
  ~Answerer();
  Answerer(const Answerer&) = delete;
  Answerer& operator=(const Answerer&) = delete;

 private:
  void Run(const std::vector<std::uint8_t>& request, const std::vector<std::uint8_t>& reply);

  PseudoTerminal& line_;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace fenwright::platform
