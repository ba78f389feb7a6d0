#include "chip_record.h"

#include <filesystem>

#include <fmt/format.h>

#include "check_sum.h"
#include "core/file_reason.h"
#include "platform/system/folders.h"
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

constexpr int kFields = 10;

/// The fields of a row; commas in quotes part none.
int FieldsOf(std::string_view row) {
  int fields = 1;
  bool quoted = false;
  for (const char character : row) {
    if (character == '"') quoted = !quoted;
    if (character == ',' && !quoted) ++fields;
  }
  return fields;
}

Problem NoRecord(const std::string& path) {
  return {.Code = problem::kFileType,
          .Text = {path + ": チップの記録ではありません", path + ": is no record of chips"},
          .Cure = {"別のファイルを指定します。", "name another file"}};
}

/// A header that was cut short counts as one: what follows it begins anew.
bool IsRecord(std::string_view content) {
  return content.starts_with(kHeader) || kHeader.starts_with(content);
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

/// True when a record has a chip's row, whole.
bool HasRow(std::string_view record, std::string_view row) {
  const std::string wanted = fmt::format("\n{},", KeyOf(row));
  for (std::size_t found = record.find(wanted); found != std::string_view::npos;
       found = record.find(wanted, found + 1)) {
    const std::string_view line = record.substr(found + 1);
    if (FieldsOf(line.substr(0, line.find('\n'))) == kFields) return true;
  }
  return false;
}

/// The name of the file with a row of a record that is open: the record's, a check sum, the ending.
bool IsOpenRowOf(const std::string& record, const std::string& name) {
  constexpr std::size_t kDigits = 8;
  if (name.size() != record.size() + 1 + kDigits + kOpenRowEnding.size()) return false;
  return name.starts_with(record + ".") && name.ends_with(kOpenRowEnding);
}

}  // namespace

ExitCode CheckRecord(Session& session, const std::string& path) {
  std::error_code error;
  const auto folder = std::filesystem::absolute(ToPath(path), error).parent_path();
  if (!std::filesystem::is_directory(folder, error)) {
    return session.Fail(ExitCode::FileError, {.Code = problem::kFileMissing,
                                              .Text = {path + ": そのフォルダーはありません",
                                                       path + ": there is no such folder"}});
  }
  std::string content;
  const platform::FileResult result = platform::SystemTextFiles().Read(path, content);
  if (result.Code == platform::FileResult::Status::NotFound) {
    if (platform::MayWriteInto(ToUtf8(folder))) return ExitCode::Success;
    return session.Fail(ExitCode::FileError, {.Code = problem::kFileUnwritable,
                                              .Text = {path + ": フォルダーに書けません",
                                                       path + ": its folder cannot be written"}});
  }
  if (!result) return FailWrite(session, path, result);
  if (!IsRecord(content)) return session.Fail(ExitCode::FileError, NoRecord(path));
  // Opening it for the end changes nothing in a file that is there.
  const platform::FileResult opened = AppendDurably(path, "");
  return opened ? ExitCode::Success : FailWrite(session, path, opened);
}

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
  if (!IsRecord(content)) return session.Fail(ExitCode::FileError, NoRecord(path_));
  const bool begun = content.starts_with(kHeader);
  if (begun) {
    result = DropCutRow(content);
  } else if (!missing) {
    result = CutTo(path_, 0);
  }
  if (result || missing) result = AppendDurably(path_, begun ? "" : kHeader);
  if (!result) return FailWrite(session, path_, result);
  if (const ExitCode code = TakeOverOpenRows(session); code != ExitCode::Success) return code;
  hold_ = std::move(hold);
  return ExitCode::Success;
}

/// The rows of chips that were begun and not ended, by the paths of their files.
std::map<std::string, std::string> ChipRecord::OpenRows() const {
  std::error_code error;
  platform::SystemTextFiles files;
  const std::filesystem::path record = std::filesystem::absolute(ToPath(path_), error);
  const std::string own = ToUtf8(record.filename());
  std::map<std::string, std::string> rows;
  std::filesystem::directory_iterator entry(record.parent_path(), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    if (!IsOpenRowOf(own, ToUtf8(entry->path().filename()))) continue;
    const std::string path = ToUtf8(entry->path());
    std::string row;
    if (files.Read(path, row)) rows[path] = row;
  }
  return rows;
}

/// Takes away a last row that a crash has cut short: its chip's row is open still, and is whole.
platform::FileResult ChipRecord::DropCutRow(const std::string& content) const {
  const std::size_t last = content.rfind('\n') + 1;
  const std::string_view cut = std::string_view(content).substr(last);
  if (cut.empty() || FieldsOf(cut) == kFields) return {};
  for (const auto& [path, row] : OpenRows()) {
    const std::string key = fmt::format("{},", KeyOf(row));
    if (cut.starts_with(key) || key.starts_with(cut)) return CutTo(path_, last);
  }
  return {};
}

ExitCode ChipRecord::TakeOverOpenRows(Session& session) {
  std::string content;
  platform::SystemTextFiles files;
  files.Read(path_, content);
  for (const auto& [path, row] : OpenRows()) {
    // A row that was cut short says nothing: its chip was not touched yet. One that the record has
    // was ended a moment before the program was.
    if (row.ends_with('\n') && !HasRow(content, row)) {
      if (const auto result = AppendDurably(path_, row); !result) {
        return FailWrite(session, path_, result);
      }
      session.Out().PrintError(session.In({"中断されたチップを記録しました: ",
                                           "an interrupted chip is in the record now: "}) +
                               row);
    }
    files.Delete(path);
  }
  return ExitCode::Success;
}

ExitCode ChipRecord::Begin(Session& session, ChipRow row) {
  const std::scoped_lock lock(mutex_);
  if (lost_) {
    return session.Fail(ExitCode::FileError,
                        {.Code = problem::kFileUnwritable,
                         .Text = {path_ + ": 前のチップを記録できませんでした",
                                  path_ + ": could not take the row of an earlier chip"}});
  }
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
  lost_ = true;
  session.Out().PrintError(line);
  return FailWrite(session, path_, result);
}

}  // namespace fenwright::cli
