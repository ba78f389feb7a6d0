#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "board/board_protocol.h"
#include "board/chip.h"
#include "board/faults.h"
#include "board/line_end.h"
#include "board/line_timing.h"

namespace fenwright::board {

struct SimulatedBoardOptions {
  std::string Chip = "empty";  ///< what is in the socket, as FindChip() takes it; unknown: empty
  std::uint32_t Baud = 57600;  ///< 0 = infinitely fast
  std::chrono::nanoseconds Latency{};  ///< how long the adapter holds back each byte from the board
  BoardOptions Board;
  std::vector<Fault> Faults;
};

/// A programmer board with its chips, its serial line and its faults.
///
/// A byte to the board is on the line for one byte time, from its sending or from the moment the
/// line is free. The reply's bytes follow, from the moment the command's last byte has arrived and
/// the board has done its work, one byte time each; the adapter then holds each back for the
/// latency. Bytes that arrive while the board works wait.
///
/// A command is carried out inside Receive(), only its effects on the line are spread over time. In
/// update mode the bytes of a frame follow each other; a frame that pauses for 100 ms is dropped.
class SimulatedBoard : public LineEnd {
 public:
  explicit SimulatedBoard(SimulatedBoardOptions options);

  void Receive(std::span<const std::uint8_t> bytes, std::chrono::nanoseconds now) override;
  [[nodiscard]] std::optional<std::chrono::nanoseconds> NextDue() const override;
  std::vector<std::uint8_t> TakeDue(std::chrono::nanoseconds now) override;
  [[nodiscard]] bool HungUp() const override { return hung_up_; }

  /// Replies that the board has given so far.
  [[nodiscard]] std::uint32_t Replies() const { return faults_.Replies(); }

  /// Puts the line back after a hang-up; the board restarts as from power-on. Counters go on.
  void PlugIn();

  /// Puts the chip of that name into the socket. Every chip keeps its contents while it is out of
  /// the socket. False, with nothing changed, when FindChip() does not know the name.
  bool InsertChip(std::string_view name);

  /// The chip in the socket.
  [[nodiscard]] Chip& Socket() { return *socket_; }
  [[nodiscard]] const Chip& Socket() const { return *socket_; }

  /// The chip of a model, made factory-fresh when it has never been used.
  Chip& ChipOf(const ChipModel& model);

  /// Every chip that has been used, by the model's name.
  [[nodiscard]] const std::map<std::string_view, Chip>& Chips() const { return chips_; }

  [[nodiscard]] BoardProtocol& Protocol() { return protocol_; }
  [[nodiscard]] const BoardProtocol& Protocol() const { return protocol_; }

  [[nodiscard]] std::uint32_t Baud() const { return baud_; }

  /// Takes the one connection that the line has; false when it is taken or hung up.
  bool Connect();
  void Disconnect() { connected_ = false; }
  [[nodiscard]] bool Connected() const { return connected_; }

 private:
  struct DueByte {
    std::chrono::nanoseconds At;
    std::uint8_t Value;
  };

  void Arrive(std::uint8_t byte, std::chrono::nanoseconds at);
  void CutPower(std::chrono::nanoseconds at);
  void Answer(BoardReply reply, std::chrono::nanoseconds start);
  void NoteTime(std::chrono::nanoseconds now);

  std::uint32_t baud_;
  std::chrono::nanoseconds latency_;
  FaultInjector faults_;
  std::map<std::string_view, Chip> chips_;
  Chip* socket_;
  BoardProtocol protocol_;
  LineDirection to_board_;
  LineDirection to_pc_;
  std::chrono::nanoseconds busy_until_ = std::chrono::nanoseconds::min();
  std::deque<DueByte> due_;
  std::uint32_t received_ = 0;
  std::chrono::nanoseconds last_arrival_{};
  std::optional<std::chrono::nanoseconds> hang_up_at_;
  bool hung_up_ = false;
  bool connected_ = false;
};

}  // namespace fenwright::board
