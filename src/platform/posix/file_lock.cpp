#include "platform/posix/file_lock.h"

#include <cerrno>
#include <chrono>
#include <sys/file.h>
#include <thread>

namespace fenwright::platform {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 250ms;
constexpr auto kLook = 2ms;

}  // namespace

int LockFile(int descriptor) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + kPatience;
  while (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    if (error != EWOULDBLOCK || steady_clock::now() >= end) return error;
    std::this_thread::sleep_for(kLook);
  }
  return 0;
}

}  // namespace fenwright::platform
