#pragma once

#include "board/board_protocol.h"
#include "board/chip.h"
#include "board/chip_models.h"
#include "support/prelude.h"

namespace fenwright::board {

using Bytes = std::vector<std::uint8_t>;

/// A command: its character and its argument bytes.
inline Bytes Say(char letter, std::initializer_list<int> arguments = {}) {
  Bytes bytes{static_cast<std::uint8_t>(letter)};
  for (const int argument : arguments) {
    bytes.push_back(static_cast<std::uint8_t>(argument));
  }
  return bytes;
}

inline const Bytes kAck{0x0D};
inline const Bytes kRefused{'?'};
inline const Bytes kNothing{};

constexpr std::chrono::nanoseconds kByte{173'611};  // 10 bits at 57,600 baud

/// A board with one chip, without a line: bytes in, answer out.
class Talk {
 public:
  explicit Talk(std::string_view chip_name, BoardOptions options = {})
      : Socket(*FindChip(chip_name)), Board(std::move(options), &Socket) {}

  Bytes operator()(char letter, std::initializer_list<int> arguments = {}) {
    return Send(Say(letter, arguments));
  }

  Bytes Send(const Bytes& bytes) {
    Bytes answer;
    for (const std::uint8_t byte : bytes) {
      if (const auto reply = Board.Feed(byte)) {
        answer.insert(answer.end(), reply->Bytes.begin(), reply->Bytes.end());
        LastDelay = reply->Delay;
      }
    }
    return answer;
  }

  /// Extended set, the socket's own device selected, programming mode entered.
  Talk& Ready() {
    Send(Say('A'));
    if (Socket.Model().DeviceCode) {
      Send(Say('T', {*Socket.Model().DeviceCode}));
    }
    Send(Say('P'));
    return *this;
  }

  Chip Socket;
  BoardProtocol Board;
  std::chrono::nanoseconds LastDelay{};
};

/// The same made ready.
struct ReadyTalk : Talk {
  explicit ReadyTalk(std::string_view chip_name, BoardOptions options = {})
      : Talk(chip_name, std::move(options)) {
    Ready();
  }
};

}  // namespace fenwright::board
