#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "durable_file.h"
#include "session.h"

namespace fenwright::cli {

/// What became of one chip.
struct ChipRow {
  std::string Time;  ///< when its work began, "2026-04-01T09:30:00"
  std::string Board;
  std::string Device;
  std::string Signature;
  std::optional<std::uint64_t> Serial;
  std::string Image;   ///< CRC-32 of both memories as the files have them
  std::string Fuses;   ///< as read back last, "" = not read
  std::string Result;  ///< pass, fail, stopped or interrupted
  std::string Error;   ///< the code of what went wrong, "" = nothing
  double Seconds = 0;
  bool Lost = false;   ///< the record could not take it
  bool Begun = false;  ///< its image was complete: a number may be taken, the erase was next
};

/// Checks that a file can be the record of a job, and writes nothing. What is wrong is printed.
ExitCode CheckRecord(Session& session, const std::string& path);

/// A CSV file with a row for each chip. A chip that is about to be erased has its row, as
/// "interrupted", in a file of its own until it has its last one; the next run takes what it finds
/// there over, so that a crash loses no chip. One run at a time has the file; several threads of it
/// may use it.
class ChipRecord {
 public:
  explicit ChipRecord(std::string path) : path_(std::move(path)) {}

  /// Makes sure that rows can be written, and takes over those of a run that was interrupted.
  ExitCode Open(Session& session);

  /// The chip is about to be erased.
  ExitCode Begin(Session& session, ChipRow row);

  /// The chip's last row. A row that cannot be written is printed, so that it is not lost; nothing
  /// is begun after that.
  ExitCode End(Session& session, const ChipRow& row);

  /// True when a row could not be written.
  [[nodiscard]] bool IsLost() const { return lost_; }

 private:
  [[nodiscard]] std::string PathOfOpenRow(const std::string& board) const;
  [[nodiscard]] std::map<std::string, std::string> OpenRows() const;
  [[nodiscard]] platform::FileResult DropCutRow(const std::string& content) const;
  ExitCode TakeOverOpenRows(Session& session);

  std::string path_;
  std::atomic<bool> lost_ = false;
  std::mutex mutex_;
  std::unique_ptr<FileHold> hold_;
};

}  // namespace fenwright::cli
