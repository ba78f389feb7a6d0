#include "number_counter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <mutex>
#include <set>
#include <sstream>
#include <string_view>

#include <fmt/format.h>

#include "core/file_reason.h"
#include "durable_file.h"
#include "platform/system/text_files.h"
#include "text.h"

namespace fenwright::cli {
namespace {

constexpr std::string_view kFirstLine = "fenwright-counter 1";

/// Closes a line that a crash has cut short.
constexpr std::string_view kCut = " ~";

/// How long another run may have the file.
constexpr double kPatience = 3;

std::optional<std::uint64_t> ReadNumber(std::string_view text) {
  std::uint64_t number = 0;
  const auto [stop, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc{} || stop != text.data() + text.size()) return std::nullopt;
  return number;
}

/// The number of a line that takes one; of a line that was cut short as soon as the number is
/// whole, which is when something stands behind it. A number too many that is passed over does no
/// harm.
std::optional<std::uint64_t> TakenIn(const std::string& line) {
  std::istringstream words(line);
  std::string word;
  std::string value;
  std::string next;
  words >> word >> value;
  const bool whole = words.get() == ' ' && (!(words >> next) || next != kCut.substr(1));
  return word == "taken" && whole ? ReadNumber(value) : std::nullopt;
}

/// The files that this process has begun: what begins a file goes on with it, on the next chip and
/// on the other boards of the call. Whoever looks at a file and at this holds the mutex, so that no
/// other board sees one of them without the other.
struct BegunFiles {
  std::mutex Mutex;
  std::set<std::string> Paths;
};

BegunFiles& Begun() {
  static BegunFiles files;
  return files;
}

}  // namespace

Problem NumberCounter::Damaged(int line) const {
  return {.Code = problem::kCounterDamaged,
          .Text = {fmt::format("{}:{}: 番号のファイルの行ではありません", path_, line),
                   fmt::format("{}:{}: this is no line of a counter file", path_, line)}};
}

Problem NumberCounter::Unwritable(const platform::FileResult& result) const {
  return {.Code = problem::kFileUnwritable,
          .Text = {fmt::format("{}: 書けません: {}", path_, core::DescribeReason(result)),
                   fmt::format("{}: cannot be written: {}", path_, result.Reason)}};
}

std::optional<Problem> NumberCounter::Read(Content& content) const {
  platform::SystemTextFiles files;
  std::string text;
  const platform::FileResult result = files.Read(path_, text);
  if (result.Code == platform::FileResult::Status::NotFound) return std::nullopt;
  if (!result) {
    return Problem{.Code = problem::kFileUnreadable,
                   .Text = {fmt::format("{}: 読めません: {}", path_, core::DescribeReason(result)),
                            fmt::format("{}: cannot be read: {}", path_, result.Reason)}};
  }
  content.IsThere = true;
  const bool cut_short = !text.empty() && !text.ends_with('\n');
  const auto take = [&content](std::uint64_t number) {
    content.LastTaken = std::max(content.LastTaken.value_or(0), number);
  };
  if (cut_short) {
    const std::size_t last = text.rfind('\n') == std::string::npos ? 0 : text.rfind('\n') + 1;
    if (const auto number = TakenIn(text.substr(last))) take(*number);
    text.resize(last);
  }
  int number_of_line = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    ++number_of_line;
    if (line.ends_with('\r')) line.pop_back();
    if (line.ends_with(kCut)) {
      if (const auto number = TakenIn(line)) take(*number);
      continue;
    }
    if (number_of_line == 1) {
      if (line != kFirstLine) return Damaged(1);
      continue;
    }
    std::istringstream words(line);
    std::string word;
    std::string value;
    words >> word >> value;
    const auto number = ReadNumber(value);
    const bool known = word == "first" || word == "taken" || word == "used" || word == "failed";
    if (!known || !number || (word == "first") != (number_of_line == 2)) {
      return Damaged(number_of_line);
    }
    if (word == "first") content.First = *number;
    if (word == "taken") take(*number);
  }
  // The first two lines are written at once; of a file that has but one nothing was taken.
  if (!content.First) {
    if (number_of_line > 0 || cut_short) return Damaged(number_of_line + 1);
    content.IsThere = false;
  }
  return std::nullopt;
}

std::optional<Problem> NumberCounter::Next(const job::SerialNumber& form, const Content& content,
                                           std::uint64_t& number) const {
  // One that this run has begun, and that is gone, is not begun once more with the same numbers.
  if (!content.IsThere && (!first_ || Begun().Paths.contains(path_))) {
    return Problem{.Code = problem::kCounterMissing,
                   .Text = {path_ + ": 番号のファイルがありません",
                            path_ + ": there is no such counter file"}};
  }
  if (content.IsThere && first_ && !Begun().Paths.contains(path_)) {
    return Problem{
        .Code = problem::kFileExists,
        .Text = {fmt::format("{}: もうあるため、--counter-start では始められません", path_),
                 fmt::format("{}: is there already, so --counter-start cannot begin it", path_)},
        .Cure = {"--counter-start を外すと、続きの番号を使います。",
                 "without --counter-start it goes on where it was"}};
  }
  const std::uint64_t step = form.Step;
  const std::uint64_t largest = form.Largest();
  number = content.IsThere ? *content.First : *first_;
  bool used_up = number > largest;
  if (content.LastTaken) {
    used_up = *content.LastTaken > largest || largest - *content.LastTaken < step;
    number = *content.LastTaken + step;
  }
  if (!used_up) return std::nullopt;
  return Problem{
      .Code = problem::kNumbersUsedUp,
      .Text = {fmt::format("{}: 次の番号は {} バイトに収まりません", path_, form.Width),
               fmt::format("{}: the next number has no room in {} bytes", path_, form.Width)}};
}

std::optional<Problem> NumberCounter::Peek(const job::SerialNumber& form,
                                           std::uint64_t& number) const {
  std::error_code error;
  const auto folder = std::filesystem::absolute(ToPath(path_), error).parent_path();
  if (!std::filesystem::is_directory(folder, error)) {
    return Problem{
        .Code = problem::kFileMissing,
        .Text = {path_ + ": そのフォルダーはありません", path_ + ": there is no such folder"}};
  }
  const std::scoped_lock lock(Begun().Mutex);
  Content content;
  if (auto problem = Read(content)) return problem;
  if (auto problem = Next(form, content, number)) return problem;
  if (!content.IsThere) return std::nullopt;
  // Opening it for the end changes nothing in a file that is there.
  if (const auto result = AppendDurably(path_, ""); !result) return Unwritable(result);
  return std::nullopt;
}

std::optional<Problem> NumberCounter::Take(const job::SerialNumber& form, const std::string& when,
                                           const std::string& place, std::uint64_t& number) const {
  const FileHold hold(path_, kPatience);
  if (!hold) return hold.WhyNot();
  const std::scoped_lock lock(Begun().Mutex);
  Content content;
  if (auto problem = Read(content)) return problem;
  if (auto problem = Next(form, content, number)) return problem;
  std::string lines;
  if (!content.IsThere) lines = fmt::format("{}\nfirst {}\n", kFirstLine, number);
  lines += fmt::format("taken {} {} {}\n", number, when, place);
  if (const auto result = AppendDurably(path_, lines, kCut); !result) return Unwritable(result);
  if (!content.IsThere) Begun().Paths.insert(path_);
  return std::nullopt;
}

std::optional<Problem> NumberCounter::Note(std::uint64_t number, bool used) const {
  const FileHold hold(path_, kPatience);
  if (!hold) return hold.WhyNot();
  const auto result =
      AppendDurably(path_, fmt::format("{} {}\n", used ? "used" : "failed", number), kCut);
  if (!result) return Unwritable(result);
  return std::nullopt;
}

}  // namespace fenwright::cli
