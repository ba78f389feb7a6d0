#include "platform/system/end_signals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace fenwright::platform {
namespace {

constexpr std::array kEndSignals{SIGTERM, SIGHUP, SIGINT};
constexpr std::int64_t kOneEndMilliseconds = 1000;

// What a handler touches. It can run on any thread.
std::atomic<int> first_signal{0};
std::atomic<std::int64_t> first_time{0};
std::atomic<int> pipe_to_fill{-1};
static_assert(std::atomic<int>::is_always_lock_free &&
              std::atomic<std::int64_t>::is_always_lock_free);

std::int64_t Milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

extern "C" void OnEndSignal(int number) {
  const int error = errno;
  const std::int64_t now = Milliseconds();
  std::int64_t first = 0;
  if (first_time.compare_exchange_strong(first, now)) {
    first_signal = number;
    const char mark = 0;
    static_cast<void>(!write(pipe_to_fill, &mark, sizeof mark));
  } else if (now - first > kOneEndMilliseconds) {
    // Blocked as long as the handler runs: it arrives with its return.
    static_cast<void>(std::signal(number, SIG_DFL));
    raise(number);
  }
  errno = error;
}

bool IsIgnored(int number) {
  struct sigaction present {};
  return sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
}

}  // namespace

EndSignals::EndSignals() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  descriptor_ = ends[0];
  pipe_to_fill = ends[1];
  first_signal = 0;
  first_time = 0;
  struct sigaction action {};
  action.sa_handler = OnEndSignal;
  action.sa_flags = SA_RESTART;
  for (const int number : kEndSignals) {
    if (!IsIgnored(number)) sigaction(number, &action, nullptr);
  }
}

EndSignals::~EndSignals() {
  if (descriptor_ < 0) return;
  for (const int number : kEndSignals) {
    if (!IsIgnored(number)) static_cast<void>(std::signal(number, SIG_DFL));
  }
  close(descriptor_);
  close(pipe_to_fill.exchange(-1));
}

int EndSignals::Received() const { return descriptor_ < 0 ? 0 : first_signal.load(); }

}  // namespace fenwright::platform
