#pragma once

#include <sys/types.h>

#include "support/prelude.h"

namespace fenwright::testing {

/// A folder of its own that is deleted with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
  [[nodiscard]] std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

/// Waits until `path` exists, ten seconds at most; false when it does not.
bool WaitForFile(const std::string& path);

/// A program started as a user would, with its outputs in files. It is killed when the object
/// goes while it still runs.
class Process {
 public:
  struct Setup {
    std::string Folder = ".";                          ///< working folder
    std::map<std::string, std::string> Environment{};  ///< added to the test's own
    bool OnTerminal = false;                           ///< both outputs are a terminal, Output()
    unsigned UserId = 0;                               ///< user to run as, 0 = the test's own
  };
  Process(std::vector<std::string> command, const Setup& setup);
  explicit Process(std::vector<std::string> command);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void Signal(int number) const;
  [[nodiscard]] bool Running();

  /// Waits for the end; the exit code, 128 + n when signal n ended it, -1 after `seconds`.
  int Wait(double seconds = 60);

  [[nodiscard]] std::string Output();
  [[nodiscard]] std::string Errors();

  /// User and system time in seconds, known after Wait().
  [[nodiscard]] double ProcessorSeconds() const { return processor_seconds_; }
  [[nodiscard]] pid_t Id() const { return pid_; }

 private:
  bool Reap(int options);
  void DrainTerminal();

  TemporaryFolder folder_;
  pid_t pid_ = -1;
  bool running_ = false;
  int exit_code_ = -1;
  int terminal_ = -1;
  std::string terminal_output_;
  double processor_seconds_ = 0;
};

}  // namespace fenwright::testing
