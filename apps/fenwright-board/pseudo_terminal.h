#pragma once

#include <string>

namespace fenwright::board_app {

/// A pseudo terminal in raw mode. The PC's programs open Path(); the board reads and writes
/// Master(), blocking. Destroying it hangs the line up.
class PseudoTerminal {
 public:
  PseudoTerminal() = default;
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  /// False: `error` says why. Call it once.
  bool Open(std::string& error);

  /// Closes the master: the line is gone for the programs that have it open.
  void HangUp();

  /// From now on reads fail once no program has the terminal open.
  void EndWithLastUser();

  [[nodiscard]] int Master() const { return master_; }
  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  int master_ = -1;
  // Without a descriptor of our own on the PC's side, reads fail while no program has it open.
  int slave_ = -1;
  std::string path_;
};

/// A symbolic link that lives as long as the object.
class TerminalLink {
 public:
  TerminalLink() = default;
  ~TerminalLink();
  TerminalLink(const TerminalLink&) = delete;
  TerminalLink& operator=(const TerminalLink&) = delete;

  /// Makes `link` point to `target`, replacing an older link in one step. Anything else of that
  /// name is left alone. False: `error` says why.
  bool Make(const std::string& link, const std::string& target, std::string& error);

 private:
  std::string link_;
  std::string target_;
};

}  // namespace fenwright::board_app
