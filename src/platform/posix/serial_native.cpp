#include "platform/system/serial_native.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include "platform/posix/file_lock.h"
#include "platform/posix/port_failure.h"

namespace fenwright::platform::native {
namespace {

struct Speed {
  unsigned Baud;
  speed_t Code;
};

constexpr std::array kSpeeds{
    Speed{300, B300},       Speed{600, B600},       Speed{1200, B1200},      Speed{2400, B2400},
    Speed{4800, B4800},     Speed{9600, B9600},     Speed{19200, B19200},    Speed{38400, B38400},
    Speed{57600, B57600},   Speed{115200, B115200}, Speed{230400, B230400},  Speed{460800, B460800},
    Speed{500000, B500000}, Speed{921600, B921600}, Speed{1000000, B1000000}};

constexpr std::array<tcflag_t, 4> kDataBits{CS5, CS6, CS7, CS8};

/// Sleeps until the line is ready for `event` or gone; false when `seconds` pass before.
bool Wait(Handle handle, short event, double seconds) {
  using std::chrono::duration;
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + duration<double>(seconds);
  double left = seconds;
  while (true) {
    timespec rest{.tv_sec = static_cast<time_t>(left), .tv_nsec = 0};
    rest.tv_nsec = static_cast<long>((left - static_cast<double>(rest.tv_sec)) * 1e9);
    pollfd watched{.fd = handle, .events = event, .revents = 0};
    const int count = ppoll(&watched, 1, &rest, nullptr);
    if (count >= 0 || errno != EINTR) return count != 0;
    left = std::max(0.0, duration<double>(end - steady_clock::now()).count());
  }
}

bool IsPassing(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

/// Locks the open device. Gives the `errno` value of what failed, 0 for success.
int TakeOver(Handle handle) {
  termios line{};
  if (tcgetattr(handle, &line) != 0) return errno;
  // The lock also tells a second program of the superuser, whom TIOCEXCL lets in.
  if (const int error = LockFile(handle); error != 0) return error;
  return ioctl(handle, TIOCEXCL) == 0 ? 0 : errno;
}

void RequestLowLatency(Handle handle) {
  serial_struct line{};
  if (ioctl(handle, TIOCGSERIAL, &line) != 0) return;
  line.flags |= static_cast<int>(ASYNC_LOW_LATENCY);
  ioctl(handle, TIOCSSERIAL, &line);
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

bool Configure(Handle handle, const LineSettings& settings) {
  const auto* const speed = std::ranges::find(kSpeeds, settings.Baud, &Speed::Baud);
  termios line{};
  if (speed == kSpeeds.end() || settings.StopBits == LineStopBits::OneAndHalf ||
      tcgetattr(handle, &line) != 0) {
    return false;
  }
  cfmakeraw(&line);
  cfsetspeed(&line, speed->Code);
  line.c_iflag |= IGNPAR;
  line.c_iflag &= ~static_cast<tcflag_t>(IXOFF | INPCK);
  line.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARODD | CRTSCTS);
  line.c_cflag |= CREAD | CLOCAL | kDataBits.at(settings.DataBits - 5);
  if (settings.StopBits == LineStopBits::Two) line.c_cflag |= CSTOPB;
  if (settings.Parity != LineParity::None) line.c_cflag |= PARENB;
  if (settings.Parity == LineParity::Odd) line.c_cflag |= PARODD;
  line.c_cc[VMIN] = 1;  // with 0, silence would look like a hang-up to a reader
  line.c_cc[VTIME] = 0;
  if (tcsetattr(handle, TCSANOW, &line) != 0) return false;
  RequestLowLatency(handle);
  return true;
}

// Not by tcdrain(): on a line that stands still it never returns.
void Drain(Handle handle, double seconds) {
  using std::chrono::duration;
  using std::chrono::steady_clock;
  constexpr timespec kLook{.tv_sec = 0, .tv_nsec = 1'000'000};
  const auto end = steady_clock::now() + duration<double>(seconds);
  int waiting = 0;
  while (ioctl(handle, TIOCOUTQ, &waiting) == 0 && waiting > 0 && !IsGone(handle)) {
    if (steady_clock::now() >= end) {
      // Closing would wait for them, half a minute as a rule.
      return DiscardOutput(handle);
    }
    nanosleep(&kLook, nullptr);
  }
}

void Close(Handle handle) {
  // The mark would outlive the handle on a line that somebody else keeps open.
  ioctl(handle, TIOCNXCL);
  close(handle);
}

void SetRts(Handle handle, bool enable) {
  const int rts = TIOCM_RTS;
  ioctl(handle, enable ? TIOCMBIS : TIOCMBIC, &rts);
}

void DiscardOutput(Handle handle) { tcflush(handle, TCOFLUSH); }

Transfer Read(Handle handle, std::span<std::uint8_t> room, double seconds) {
  if (seconds > 0 && !Wait(handle, POLLIN, seconds)) return {};
  const ssize_t count = read(handle, room.data(), room.size());
  if (count > 0) return {.Count = static_cast<std::size_t>(count)};
  return {.Gone = count == 0 || !IsPassing(errno)};
}

Transfer Write(Handle handle, std::span<const std::uint8_t> bytes, double seconds) {
  ssize_t count = write(handle, bytes.data(), bytes.size());
  if (count < 0 && IsPassing(errno) && Wait(handle, POLLOUT, seconds)) {
    count = write(handle, bytes.data(), bytes.size());
  }
  if (count >= 0) return {.Count = static_cast<std::size_t>(count)};
  return {.Gone = !IsPassing(errno)};
}

bool IsGone(Handle handle) {
  pollfd watched{.fd = handle, .events = POLLIN, .revents = 0};
  return poll(&watched, 1, 0) > 0 && (watched.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

}  // namespace fenwright::platform::native
