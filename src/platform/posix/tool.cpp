#include "platform/system/tool.h"

#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fenwright::platform {
namespace {

/// What a new program finds opened: nothing to read, complaints to a file.
class SpawnFiles {
 public:
  explicit SpawnFiles(const std::filesystem::path& errors) {
    constexpr mode_t kOwnerOnly = 0600;
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, errors.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, kOwnerOnly);
  }
  ~SpawnFiles() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnFiles(const SpawnFiles&) = delete;
  SpawnFiles& operator=(const SpawnFiles&) = delete;
  [[nodiscard]] const posix_spawn_file_actions_t* Actions() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

}  // namespace

std::optional<int> RunTool(const std::vector<std::string>& command,
                           const std::filesystem::path& errors) {
  std::vector<std::string> words = command;
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const SpawnFiles files(errors);
  pid_t child = 0;
  if (posix_spawnp(&child, arguments.front(), files.Actions(), nullptr, arguments.data(),
                   environ) != 0) {
    return std::nullopt;
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return std::nullopt;
  }
  constexpr int kBySignal = 128;
  return WIFEXITED(status) ? WEXITSTATUS(status) : kBySignal + WTERMSIG(status);
}

PrivateFolder::PrivateFolder() {
  std::error_code error;
  const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
  if (error) return;
  std::string name = (parent / "fenwright-XXXXXX").string();
  if (mkdtemp(name.data()) != nullptr) path_ = name;
}

PrivateFolder::~PrivateFolder() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

}  // namespace fenwright::platform
