#include "line_log.h"

#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "board/line_record.h"
#include "core/build_info.h"
#include "text.h"

namespace fenwright::cli {
namespace {

constexpr std::string_view kHeading = "# fenwright-cli";

bool IsOlderLog(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string start(kHeading.size(), '\0');
  file.read(start.data(), static_cast<std::streamsize>(start.size()));
  return file && start == kHeading;
}

}  // namespace

std::optional<Problem> LineLog::Open(const std::string& path) {
  const std::filesystem::path file = ToPath(path);
  std::error_code ignored;
  const bool is_there = std::filesystem::exists(file, ignored);
  if (is_there && std::filesystem::file_size(file, ignored) != 0 && !IsOlderLog(file)) {
    return Problem{.Code = problem::kFileExists,
                   .Text = {fmt::format("--log {}: すでにあり、通信の記録ではありません", path),
                            fmt::format("--log {}: exists, and is no log of a line", path)},
                   .Cure = {"別の名前にします。", "give another name"}};
  }
  file_.open(file, std::ios::binary | std::ios::trunc);
  file_ << kHeading << " " << core::kVersion << "\n" << std::flush;
  last_ = std::chrono::steady_clock::now();
  if (file_) return std::nullopt;
  return Problem{.Code = problem::kFileUnwritable,
                 .Text = {fmt::format("--log {}: 書けません", path),
                          fmt::format("--log {}: cannot be written", path)}};
}

void LineLog::NoteSent(std::span<const std::uint8_t> bytes) {
  last_ = std::chrono::steady_clock::now();
  file_ << board::RecordBytes(board::Sender::Pc, bytes) << std::flush;
}

void LineLog::NoteReceived(std::span<const std::uint8_t> bytes) {
  NotePause();
  file_ << board::RecordBytes(board::Sender::Board, bytes) << std::flush;
}

void LineLog::NoteHangUp() {
  NotePause();
  file_ << board::RecordHangUp() << std::flush;
}

void LineLog::NotePause() {
  const auto now = std::chrono::steady_clock::now();
  const auto pause = now - std::exchange(last_, now);
  if (pause >= board::kShortestPause) file_ << board::RecordPause(pause);
}

platform::PortOpenResult LoggedSerialControl::Open() {
  if (!line_->PortOpen()) {
    received_.clear();
    gone_ = false;
  }
  return line_->Open();
}

void LoggedSerialControl::Close() {
  if (line_->PortOpen()) Collect();
  line_->Close();
  received_.clear();
}

void LoggedSerialControl::Collect() {
  const std::vector<std::uint8_t> bytes = line_->Input();
  if (bytes.empty()) return;
  log_.NoteReceived(bytes);
  received_.insert(received_.end(), bytes.begin(), bytes.end());
}

int LoggedSerialControl::InBufferCount() {
  Collect();
  return static_cast<int>(received_.size());
}

void LoggedSerialControl::DiscardInput() {
  Collect();
  received_.clear();
  line_->DiscardInput();
}

void LoggedSerialControl::Output(std::span<const std::uint8_t> bytes) {
  if (line_->PortOpen() && !line_->IsGone()) log_.NoteSent(bytes);
  line_->Output(bytes);
}

std::vector<std::uint8_t> LoggedSerialControl::Input() {
  Collect();
  return std::exchange(received_, {});
}

bool LoggedSerialControl::IsGone() {
  const bool gone = line_->IsGone();
  if (!gone || gone_ || !line_->PortOpen()) return gone;
  Collect();
  log_.NoteHangUp();
  gone_ = true;
  return true;
}

}  // namespace fenwright::cli
