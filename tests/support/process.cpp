#include "support/process.h"

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fenwright::testing {
namespace {

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

void RedirectTo(const std::string& path, int descriptor) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  dup2(file, descriptor);
  close(file);
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "fenwright-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

bool WaitForFile(const std::string& path) {
  for (int i = 0; i < 1000; ++i) {
    if (std::filesystem::exists(path)) return true;
    std::this_thread::sleep_for(10ms);
  }
  return false;
}

Process::Process(std::vector<std::string> command) : Process(std::move(command), Setup{}) {}

Process::Process(std::vector<std::string> command, const Setup& setup) {
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  int other_end = -1;
  if (setup.OnTerminal) {
    if (openpty(&terminal_, &other_end, nullptr, nullptr, nullptr) != 0) {
      throw std::runtime_error("openpty failed");
    }
    fcntl(terminal_, F_SETFL, O_NONBLOCK);
    fcntl(terminal_, F_SETFD, FD_CLOEXEC);
  }
  if (setup.UserId != 0) {
    std::filesystem::permissions(folder_.Path(), std::filesystem::perms::all);
  }
  pid_ = fork();
  if (pid_ == 0) {
    if (setup.UserId != 0 && (setgid(setup.UserId) != 0 || setuid(setup.UserId) != 0)) _exit(126);
    RedirectTo(folder_.File("out"), STDOUT_FILENO);
    RedirectTo(folder_.File("err"), STDERR_FILENO);
    if (setup.OnTerminal) {
      dup2(other_end, STDOUT_FILENO);
      dup2(other_end, STDERR_FILENO);
    }
    for (const auto& [name, value] : setup.Environment) setenv(name.c_str(), value.c_str(), 1);
    if (chdir(setup.Folder.c_str()) != 0) _exit(126);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  if (other_end >= 0) close(other_end);
  running_ = pid_ > 0;
}

Process::~Process() {
  if (Running()) {
    kill(pid_, SIGKILL);
    Reap(0);
  }
  if (terminal_ >= 0) close(terminal_);
}

void Process::Signal(int number) const { kill(pid_, number); }

bool Process::Reap(int options) {
  int status = 0;
  rusage usage{};
  if (wait4(pid_, &status, options, &usage) != pid_) return false;
  running_ = false;
  constexpr int kSignalBase = 128;
  exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalBase + WTERMSIG(status);
  processor_seconds_ = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  return true;
}

void Process::DrainTerminal() {
  if (terminal_ < 0) return;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while ((count = read(terminal_, buffer.data(), buffer.size())) > 0) {
    terminal_output_.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

bool Process::Running() {
  if (running_) {
    DrainTerminal();
    Reap(WNOHANG);
  }
  return running_;
}

int Process::Wait(double seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (Running()) {
    if (std::chrono::steady_clock::now() > end) return -1;
    std::this_thread::sleep_for(2ms);
  }
  return exit_code_;
}

std::string Process::Output() {
  DrainTerminal();
  return terminal_ >= 0 ? terminal_output_ : ReadFile(folder_.File("out"));
}

std::string Process::Errors() { return ReadFile(folder_.File("err")); }

}  // namespace fenwright::testing
