#include "platform/terminal_line.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <poll.h>
#include <string>
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

TerminalLine::TerminalLine() {
  std::string error;
  if (!Open(error)) ADD_FAILURE() << error;
}

void TerminalLine::Send(std::span<const std::uint8_t> bytes) {
  ASSERT_EQ(write(Master(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

std::vector<std::uint8_t> TerminalLine::Receive(std::size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  std::vector<std::uint8_t> received;
  std::array<std::uint8_t, 4096> block{};
  while (received.size() < count && std::chrono::steady_clock::now() < deadline) {
    if (!WaitReadable(Master(), 50)) continue;
    const ssize_t size =
        read(Master(), block.data(), std::min(block.size(), count - received.size()));
    if (size > 0) received.insert(received.end(), block.begin(), block.begin() + size);
  }
  return received;
}

Answerer::Answerer(TerminalLine& line, std::vector<std::uint8_t> request,
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
