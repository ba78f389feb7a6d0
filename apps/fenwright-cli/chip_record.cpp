#include "chip_record.h"

#include <filesystem>

#include <fmt/format.h>

#include "check_sum.h"
#include "core/file_reason.h"
#include "text.h"

namespace fenwright::cli {
namespace {

constexpr std::string_view kHeader =
    "time,board,device,signature,serial,image_crc32,fuses,result,error,seconds\n";
constexpr std::string_view kOpenRowEnding = ".open";

/// A field as RFC 4180 has it.
std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"') quoted += '"';
    quoted += character;
  }
  return quoted + "\"";
}

std::string LineOf(const ChipRow& row) {
  return fmt::format("{},{},{},{},{},{},{},{},{},{:.1f}\n", row.Time, CsvField(row.Board),
                     CsvField(row.Device), row.Signature,
                     row.Serial ? std::to_string(*row.Serial) : "", row.Image, CsvField(row.Fuses),
                     row.Result, row.Error, row.Seconds);
}

ExitCode FailWrite(Session& session, const std::string& path, const platform::FileResult& result) {
  return session.Fail(
      ExitCode::FileError,
      {.Code = problem::kFileUnwritable,
       .Text = {fmt::format("{}: 書けません: {}", path, core::DescribeReason(result)),
                fmt::format("{}: cannot be written: {}", path, result.Reason)}});
}

/// What stands before the result, and tells two rows apart: time, board, number.
std::string_view KeyOf(std::string_view row) {
  constexpr int kFieldsBefore = 5;
  std::size_t end = 0;
  for (int field = 0; field < kFieldsBefore && end != std::string_view::npos; ++field) {
    end = row.find(',', end + (field == 0 ? 0 : 1));
  }
  return row.substr(0, end);
}

/// The name of the file with a row of a record that is open: the record's, a check sum, the ending.
bool IsOpenRowOf(const std::string& record, const std::string& name) {
  constexpr std::size_t kDigits = 8;
  if (name.size() != record.size() + 1 + kDigits + kOpenRowEnding.size()) return false;
  return name.starts_with(record + ".") && name.ends_with(kOpenRowEnding);
}

}  // namespace

std::string ChipRecord::PathOfOpenRow(const std::string& board) const {
  return path_ + "." + CheckSum(board) + std::string(kOpenRowEnding);
}

ExitCode ChipRecord::Open(Session& session) {
  const std::scoped_lock lock(mutex_);
  if (hold_) return ExitCode::Success;
  session.Out().NoteOutside(path_);
  auto hold = std::make_unique<FileHold>(path_, 0);
  if (!*hold) return session.Fail(ExitCode::FileError, hold->WhyNot());
  std::string content;
  platform::SystemTextFiles files;
  platform::FileResult result = files.Read(path_, content);
  const bool missing = result.Code == platform::FileResult::Status::NotFound;
  if (!result && !missing) return FailWrite(session, path_, result);
  if (!content.empty() && !content.starts_with(kHeader)) {
    return session.Fail(
        ExitCode::FileError,
        {.Code = problem::kFileType,
         .Text = {path_ + ": チップの記録ではありません", path_ + ": is no record of chips"},
         .Cure = {"別のファイルを指定します。", "name another file"}});
  }
  result = AppendDurably(path_, content.empty() ? kHeader : "");
  if (!result) return FailWrite(session, path_, result);
  if (const ExitCode code = TakeOverOpenRows(session); code != ExitCode::Success) return code;
  hold_ = std::move(hold);
  return ExitCode::Success;
}

ExitCode ChipRecord::TakeOverOpenRows(Session& session) {
  std::error_code error;
  std::string content;
  platform::SystemTextFiles files;
  files.Read(path_, content);
  const std::filesystem::path record = std::filesystem::absolute(ToPath(path_), error);
  const std::string own = ToUtf8(record.filename());
  for (const auto& entry : std::filesystem::directory_iterator(record.parent_path(), error)) {
    const std::string name = ToUtf8(entry.path().filename());
    if (!IsOpenRowOf(own, name)) continue;
    std::string row;
    if (!files.Read(ToUtf8(entry.path()), row)) continue;
    // A row that was cut short says nothing: its chip was not touched yet. One that the record has
    // was ended a moment before the program was.
    const bool known = content.find(fmt::format("\n{},", KeyOf(row))) != std::string::npos;
    if (row.ends_with('\n') && !known) {
      if (const auto result = AppendDurably(path_, row); !result) {
        return FailWrite(session, path_, result);
      }
      session.Out().PrintError(session.In({"中断されたチップを記録しました: ",
                                           "an interrupted chip is in the record now: "}) +
                               row);
    }
    files.Delete(ToUtf8(entry.path()));
  }
  return ExitCode::Success;
}

ExitCode ChipRecord::Begin(Session& session, ChipRow row) {
  const std::scoped_lock lock(mutex_);
  row.Result = "interrupted";
  const std::string path = PathOfOpenRow(row.Board);
  const auto result = WriteDurably(path, LineOf(row));
  return result ? ExitCode::Success : FailWrite(session, path, result);
}

ExitCode ChipRecord::End(Session& session, const ChipRow& row) {
  const std::scoped_lock lock(mutex_);
  const std::string line = LineOf(row);
  const auto result = AppendDurably(path_, line);
  if (result) {
    platform::SystemTextFiles().Delete(PathOfOpenRow(row.Board));
    return ExitCode::Success;
  }
  // The open row stays, for the next run to find.
  session.Out().PrintError(line);
  return FailWrite(session, path_, result);
}

}  // namespace fenwright::cli
