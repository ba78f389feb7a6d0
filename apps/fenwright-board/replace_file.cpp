#include "fenwright-board/replace_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace fenwright::board_app {
namespace {

/// Gives the `errno` value of what failed, 0 for success.
int WriteNew(const std::string& path, std::string_view content) {
  constexpr mode_t kNewFileMode = 0666;
  // What an earlier run has left, or somebody else has put there, even a link.
  if (unlink(path.c_str()) != 0 && errno != ENOENT) return errno;
  const int file =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kNewFileMode);
  if (file < 0) return errno;
  int error = 0;
  while (error == 0 && !content.empty()) {
    const ssize_t written = TEMP_FAILURE_RETRY(write(file, content.data(), content.size()));
    if (written <= 0) {
      error = written == 0 ? ENOSPC : errno;
    } else {
      content.remove_prefix(static_cast<std::size_t>(written));
    }
  }
  if (close(file) != 0 && error == 0 && errno != EINTR) error = errno;
  return error;
}

}  // namespace

bool ReplaceFile(const std::string& path, std::string_view content, std::string& error) {
  const std::string temporary = path + ".new";
  int problem = WriteNew(temporary, content);
  if (problem == 0 && std::rename(temporary.c_str(), path.c_str()) != 0) problem = errno;
  if (problem == 0) return true;
  error = path + ": " + std::generic_category().message(problem);
  unlink(temporary.c_str());
  return false;
}

}  // namespace fenwright::board_app
