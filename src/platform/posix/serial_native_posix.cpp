#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/serial.h>
#include <optional>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include "platform/asio/serial_native.h"
#include "platform/posix/port_failure.h"

namespace fenwright::platform::native {
namespace {

constexpr double kLongestRest = 86400.0;
constexpr long kNanosecondsPerSecond = 1'000'000'000;
constexpr short kGoneEvents = POLLHUP | POLLERR | POLLNVAL;

/// Also takes what is no number for 0.
timespec ToTimespec(double seconds) {
  if (!(seconds > 0)) return {};
  const double bounded = std::min(seconds, kLongestRest);
  timespec time{};
  time.tv_sec = static_cast<time_t>(bounded);
  time.tv_nsec = static_cast<long>((bounded - static_cast<double>(time.tv_sec)) * 1e9);
  return time;
}

timespec DeadlineIn(const timespec& rest) {
  timespec deadline{};
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += rest.tv_sec;
  deadline.tv_nsec += rest.tv_nsec;
  if (deadline.tv_nsec >= kNanosecondsPerSecond) {
    deadline.tv_nsec -= kNanosecondsPerSecond;
    ++deadline.tv_sec;
  }
  return deadline;
}

timespec TimeUntil(const timespec& deadline) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  timespec left{deadline.tv_sec - now.tv_sec, deadline.tv_nsec - now.tv_nsec};
  if (left.tv_nsec < 0) {
    left.tv_nsec += kNanosecondsPerSecond;
    --left.tv_sec;
  }
  return left.tv_sec < 0 ? timespec{} : left;
}

/// A read or write that failed: just not possible at the moment, or never again.
Transfer TransferOf(ssize_t count, bool nothing_means_gone) {
  if (count > 0) return {.Count = static_cast<std::size_t>(count)};
  if (count == 0) return {.Gone = nothing_means_gone};
  return {.Gone = errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR};
}

Wake Wait(Handle handle, short events, double seconds) {
  timespec rest = ToTimespec(seconds);
  std::optional<timespec> deadline;
  while (true) {
    pollfd watched{.fd = handle, .events = events, .revents = 0};
    if (!deadline && seconds > 0) deadline = DeadlineIn(rest);
    const int count = ppoll(&watched, 1, &rest, nullptr);
    if (count > 0) return (watched.revents & kGoneEvents) != 0 ? Wake::Gone : Wake::Ready;
    if (count == 0 || !deadline) return Wake::TimeOver;
    if (errno != EINTR) return Wake::Gone;
    rest = TimeUntil(*deadline);
  }
}

/// Locks the open device and makes it raw. Gives the `errno` value of what failed, 0 for success.
int TakeOver(Handle handle) {
  termios line{};
  if (tcgetattr(handle, &line) != 0) return errno;
  // The lock also tells a second program of the superuser, whom TIOCEXCL lets in.
  if (flock(handle, LOCK_EX | LOCK_NB) != 0) return errno;
  if (ioctl(handle, TIOCEXCL) != 0) return errno;
  cfmakeraw(&line);
  line.c_iflag |= IGNPAR;
  line.c_cflag |= CREAD | CLOCAL;
  line.c_cc[VMIN] = 1;  // with 0, silence would look like a hang-up to a reader
  line.c_cc[VTIME] = 0;
  return tcsetattr(handle, TCSANOW, &line) == 0 ? 0 : errno;
}

}  // namespace

PortOpenResult OpenExclusive(const std::string& path, Handle& handle) {
  const int opened = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (opened < 0) return DescribePortFailure(path, errno);
  const int error = TakeOver(opened);
  if (error != 0) {
    close(opened);
    return DescribePortFailure(path, error);
  }
  handle = opened;
  return {PortOpenStatus::Ok, path, ""};
}

void ReleaseExclusive(Handle handle) { ioctl(handle, TIOCNXCL); }

void Close(Handle handle) {
  ReleaseExclusive(handle);
  close(handle);
}

void RequestLowLatency(Handle handle) {
  serial_struct line{};
  if (ioctl(handle, TIOCGSERIAL, &line) != 0) return;
  line.flags |= static_cast<int>(ASYNC_LOW_LATENCY);
  ioctl(handle, TIOCSSERIAL, &line);
}

void SetRts(Handle handle, bool enable) {
  const int rts = TIOCM_RTS;
  ioctl(handle, enable ? TIOCMBIS : TIOCMBIC, &rts);
}

void DiscardOutput(Handle handle) { tcflush(handle, TCOFLUSH); }

Transfer Read(Handle handle, std::span<std::uint8_t> room) {
  return TransferOf(read(handle, room.data(), room.size()), /*nothing_means_gone=*/true);
}

Transfer Write(Handle handle, std::span<const std::uint8_t> bytes) {
  return TransferOf(write(handle, bytes.data(), bytes.size()), /*nothing_means_gone=*/false);
}

Transfer ReadWithin(Handle handle, std::span<std::uint8_t> room, double seconds) {
  switch (Wait(handle, POLLIN, seconds)) {
    case Wake::Ready:
      return Read(handle, room);
    case Wake::Gone:
      return {.Gone = true};
    case Wake::TimeOver:
      break;
  }
  return {};
}

bool IsGone(Handle handle) { return Wait(handle, POLLIN, 0) == Wake::Gone; }

Wake WaitWritable(Handle handle, double seconds) { return Wait(handle, POLLOUT, seconds); }

void Rest(double seconds) {
  const timespec deadline = DeadlineIn(ToTimespec(seconds));
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

}  // namespace fenwright::platform::native
