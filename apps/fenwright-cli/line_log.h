#pragma once

#include <chrono>
#include <fstream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/memory/forwarding_serial_control.h"
#include "problem.h"

namespace fenwright::cli {

/// The file of every byte that goes over the lines of a call, in the form of board/line_record.h:
/// what a call that failed for a user can be played from again. It has every line up to a crash.
class LineLog {
 public:
  /// Begins the file. An older log is replaced, any other file is refused: the reason.
  std::optional<Problem> Open(const std::string& path);

  void NoteSent(std::span<const std::uint8_t> bytes);
  void NoteReceived(std::span<const std::uint8_t> bytes);
  void NoteHangUp();

  /// False when something could not be written.
  [[nodiscard]] bool IsWhole() const { return !file_.is_open() || file_.good(); }

 private:
  void NotePause();

  std::ofstream file_;
  std::chrono::steady_clock::time_point last_;
};

/// A line whose bytes are noted in a log.
class LoggedSerialControl final : public platform::ForwardingSerialControl {
 public:
  LoggedSerialControl(std::unique_ptr<platform::SerialControl> line, LineLog& log)
      : ForwardingSerialControl(*line), line_(std::move(line)), log_(log) {}

  platform::PortOpenResult Open() override;
  void Close() override;
  int InBufferCount() override;
  void DiscardInput() override;
  void Output(std::span<const std::uint8_t> bytes) override;
  std::vector<std::uint8_t> Input() override;
  bool IsGone() override;

 private:
  /// Notes what has arrived, and keeps it until it is taken.
  void Collect();

  std::unique_ptr<platform::SerialControl> line_;
  LineLog& log_;
  std::vector<std::uint8_t> received_;
  bool gone_ = false;
};

}  // namespace fenwright::cli
