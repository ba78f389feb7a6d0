#include "platform/pseudo_terminal.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

bool WaitReadable(int handle, int milliseconds) {
  pollfd watched{.fd = handle, .events = POLLIN, .revents = 0};
  return poll(&watched, 1, milliseconds) > 0 && (watched.revents & POLLIN) != 0;
}

}  // namespace

PseudoTerminal::PseudoTerminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  std::array<char, 128> name{};
  if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
      ptsname_r(master_, name.data(), name.size()) != 0) {
    ADD_FAILURE() << "no pseudo terminal";
    return;
  }
  path_ = name.data();
  // Raw from the start: what is sent before the line is opened must not be echoed back.
  termios line{};
  tcgetattr(master_, &line);
  cfmakeraw(&line);
  tcsetattr(master_, TCSANOW, &line);
}

PseudoTerminal::~PseudoTerminal() { HangUp(); }

void PseudoTerminal::Send(std::span<const std::uint8_t> bytes) {
  ASSERT_EQ(write(master_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

std::vector<std::uint8_t> PseudoTerminal::Receive(std::size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  std::vector<std::uint8_t> received;
  std::array<std::uint8_t, 4096> block{};
  while (received.size() < count && std::chrono::steady_clock::now() < deadline) {
    if (!WaitReadable(master_, 50)) continue;
    const ssize_t size =
        read(master_, block.data(), std::min(block.size(), count - received.size()));
    if (size > 0) received.insert(received.end(), block.begin(), block.begin() + size);
  }
  return received;
}

void PseudoTerminal::HangUp() {
  if (master_ >= 0) close(std::exchange(master_, -1));
}

Answerer::Answerer(PseudoTerminal& line, std::vector<std::uint8_t> request,
                   std::vector<std::uint8_t> reply)
    : line_(line), thread_([this, request = std::move(request), reply = std::move(reply)] {
        Run(request, reply);
      }) {}

Answerer::~Answerer() {
  stopping_ = true;
  thread_.join();
}

void Answerer::Run(const std::vector<std::uint8_t>& request,
                   const std::vector<std::uint8_t>& reply) {
  std::vector<std::uint8_t> received;
  while (!stopping_) {
    // While nobody has the line open the master reports a hang-up: then this is the pause.
    if (!WaitReadable(line_.Master(), 2)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      continue;
    }
    std::array<std::uint8_t, 256> block{};
    const ssize_t size = read(line_.Master(), block.data(), block.size());
    if (size > 0) received.insert(received.end(), block.begin(), block.begin() + size);
    while (received.size() >= request.size()) {
      if (!std::equal(request.begin(), request.end(), received.begin())) {
        received.erase(received.begin());
        continue;
      }
      received.erase(received.begin(),
                     received.begin() + static_cast<std::ptrdiff_t>(request.size()));
      line_.Send(reply);
    }
  }
}

}  // namespace fenwright::platform
