#include "platform/child_process.h"

#include <array>
#include <cstdlib>
#include <grp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fenwright::platform {
namespace {

constexpr uid_t kNobody = 65534;

[[noreturn]] void ReportAndExit(int pipe_end, const std::string& text) {
  const bool is_written =
      write(pipe_end, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  _exit(is_written ? EXIT_SUCCESS : EXIT_FAILURE);
}

std::string ReadToEnd(int pipe_end) {
  std::string text;
  std::array<char, 1024> block{};
  ssize_t size = 0;
  while ((size = read(pipe_end, block.data(), block.size())) > 0) {
    text.append(block.data(), static_cast<std::size_t>(size));
  }
  return text;
}

}  // namespace

std::string RunInChild(const std::function<std::string()>& action) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return "no pipe";
  const pid_t child = fork();
  if (child < 0) return "no child";
  if (child == 0) {
    close(ends[0]);
    ReportAndExit(ends[1], action());
  }
  close(ends[1]);
  const std::string text = ReadToEnd(ends[0]);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS ? text : "child died";
}

void DropPrivileges() {
  if (geteuid() != 0) return;
  if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) {
    _exit(EXIT_FAILURE);
  }
}

void LimitFileSize(unsigned long bytes) {
  const rlimit limit{.rlim_cur = bytes, .rlim_max = bytes};
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(EXIT_FAILURE);
}

}  // namespace fenwright::platform
